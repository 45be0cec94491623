// The one source of the program whose headers the tests use precompiled: it holds no test.
