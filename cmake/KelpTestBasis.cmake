# What the tests and the fuzz targets share: it needs no test framework. Compiled into each one's own archive, where what
# it calls pulls in the wrappers that stand in for it.
function(kelp_add_test_basis target)
  set(support ${PROJECT_SOURCE_DIR}/tests/support)
  target_sources(${target} PRIVATE
    ${support}/Base64Reference.cpp ${support}/BinaryRecordReference.cpp ${support}/Emulator.cpp
    ${support}/MultiPartReference.cpp ${support}/PrivateNamespace.cpp ${support}/QueryStringReference.cpp)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${target} PRIVATE
    KELP_SOURCE_DIR="${PROJECT_SOURCE_DIR}" KELP_BINARY_DIR="${PROJECT_BINARY_DIR}"
    KELP_TEST_EMULATOR="${KELP_EMULATOR}")
  target_link_libraries(${target} PUBLIC kelp-static)
endfunction()
