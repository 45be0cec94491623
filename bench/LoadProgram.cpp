// Ends at once: what it executes is the work of loading its libraries.
int main() {}
