# The programs of a build for another processor run in an emulator: CMAKE_CROSSCOMPILING_EMULATOR, which the toolchain
# file sets. CMake puts it in front of what the build and the tests start. Programs that are started by another program
# are started by their launcher, which does the same, because the kernel need not have a handler for such files.
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " KELP_EMULATOR)

# Makes the target's launcher, where there is an emulator.
function(kelp_add_launcher target)
  if(KELP_EMULATOR)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/launcher.in ${CMAKE_CURRENT_BINARY_DIR}/launchers/${target} @ONLY)
  endif()
endfunction()

# Sets the variable to what another program starts for the target: its launcher, or the target itself.
function(kelp_get_start_path variable target)
  get_target_property(directory ${target} BINARY_DIR)
  if(KELP_EMULATOR)
    set(${variable} ${directory}/launchers/${target} PARENT_SCOPE)
  else()
    set(${variable} $<TARGET_FILE:${target}> PARENT_SCOPE)
  endif()
endfunction()
