# The library: one set of objects, linked as libkelp.so (Kelp::kelp) and archived as libkelp.a (Kelp::kelp-static); two
# sets where the shared library is optimized as one whole.
find_package(Threads REQUIRED)

function(kelp_set_up_objects name)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE kelp-compile-options)
  # Nothing here throws or catches. A failed `new` has to end the process as it is: on its way up, its exception could
  # have destructors take apart what other threads still use. The tables that remain are for backtraces.
  target_compile_options(${name} PRIVATE -fno-exceptions -funwind-tables)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Calls inside the library go straight to their target; nobody may replace a member of it from outside.
    target_compile_options(${name} PRIVATE -fno-semantic-interposition)
  endif()
endfunction()

add_library(kelp-objects OBJECT)
kelp_set_up_objects(kelp-objects)

foreach(subsystem foundation event thread timer file ipc rpc pref)
  if(EXISTS ${PROJECT_SOURCE_DIR}/${subsystem}/CMakeLists.txt)
    add_subdirectory(${subsystem})
  endif()
endforeach()

# Objects of its own: an archive of such would be of use to this very compiler alone.
set(KELP_SHARED_OBJECTS kelp-objects)
if(KELP_LTO)
  get_target_property(KELP_SOURCES kelp-objects SOURCES)
  add_library(kelp-lto-objects OBJECT ${KELP_SOURCES})
  kelp_set_up_objects(kelp-lto-objects)
  set(KELP_SHARED_OBJECTS kelp-lto-objects)
endif()

add_library(kelp SHARED $<TARGET_OBJECTS:${KELP_SHARED_OBJECTS}>)
if(KELP_LTO)
  include(CheckIPOSupported)
  check_ipo_supported(LANGUAGES CXX)
  set_target_properties(kelp kelp-lto-objects PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
endif()
add_library(kelp-static STATIC $<TARGET_OBJECTS:kelp-objects>)
add_library(Kelp::kelp ALIAS kelp)
add_library(Kelp::kelp-static ALIAS kelp-static)
set_target_properties(kelp PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/kelp.map;${PROJECT_SOURCE_DIR}/cmake/kelp-replaceable.list")
set_target_properties(kelp-static PROPERTIES OUTPUT_NAME kelp)
target_link_options(kelp PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/kelp.map
  -Wl,--dynamic-list=${PROJECT_SOURCE_DIR}/cmake/kelp-replaceable.list)

# json-c is the process's own: the shared library names no need for it, the program that links Kelp does, and keeps it
# even when the linker drops what the program itself seems not to use.
set(KELP_JSON_C_LINK_FLAG -Wl,--push-state,--no-as-needed,-ljson-c,--pop-state)
foreach(library kelp kelp-static)
  target_include_directories(${library} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kelp>)
  target_compile_features(${library} INTERFACE cxx_std_17)
  target_link_libraries(${library} INTERFACE ${KELP_JSON_C_LINK_FLAG} Threads::Threads)
endforeach()
