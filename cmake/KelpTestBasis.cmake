# What the tests and the fuzz targets share: it needs no test framework.
set(support ${PROJECT_SOURCE_DIR}/tests/support)
add_library(kelp-test-basis STATIC
  ${support}/Base64Reference.cpp ${support}/BinaryRecordReference.cpp ${support}/Emulator.cpp
  ${support}/MultiPartReference.cpp ${support}/PrivateNamespace.cpp ${support}/QueryStringReference.cpp)
unset(support)
target_include_directories(kelp-test-basis PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
target_compile_definitions(kelp-test-basis PRIVATE
  KELP_SOURCE_DIR="${PROJECT_SOURCE_DIR}" KELP_BINARY_DIR="${PROJECT_BINARY_DIR}"
  KELP_TEST_EMULATOR="${KELP_EMULATOR}")
target_link_libraries(kelp-test-basis PRIVATE kelp-compile-options PUBLIC kelp-static)
