# What `cmake --install` puts on a machine: both libraries, the headers, and what CMake and pkg-config need to find them.
# Nothing in it names the prefix, so an installed tree may be moved.
include(CMakePackageConfigHelpers)

set(KELP_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kelp)
set(KELP_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS kelp kelp-static EXPORT KelpTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelp FILES_MATCHING PATTERN *.h)

set_target_properties(kelp-static PROPERTIES EXPORT_NAME kelp-static)
install(EXPORT KelpTargets NAMESPACE Kelp:: DESTINATION ${KELP_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KelpConfig.cmake.in KelpConfig.cmake
  INSTALL_DESTINATION ${KELP_CMAKE_DIR} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(KelpConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KelpConfig.cmake ${PROJECT_BINARY_DIR}/KelpConfigVersion.cmake
  DESTINATION ${KELP_CMAKE_DIR})

# The directories in a .pc file are relative to the file itself unless they were given as absolute ones.
function(kelp_set_pc_dir variable directory)
  if(IS_ABSOLUTE ${directory})
    set(${variable} ${directory} PARENT_SCOPE)
  else()
    set(${variable} "\${prefix}/${directory}" PARENT_SCOPE)
  endif()
endfunction()
kelp_set_pc_dir(KELP_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
kelp_set_pc_dir(KELP_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(KELP_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH KELP_PC_PREFIX /prefix/${KELP_PC_DIR} /prefix)
  string(REGEX REPLACE "/$" "" KELP_PC_PREFIX "\${pcfiledir}/${KELP_PC_PREFIX}")
endif()

# Two modules: pkg-config has no other way to ask for the archive alone.
foreach(module kelp kelp-static)
  set(KELP_PC_NAME ${module})
  set(KELP_PC_LIBRARY "-L\${libdir} -lkelp")
  if(module STREQUAL "kelp-static")
    set(KELP_PC_LIBRARY "\${libdir}/libkelp.a")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/kelp.pc.in ${module}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${KELP_PC_DIR})
endforeach()
