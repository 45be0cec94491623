# Builds for 32-bit ARM with Debian's cross compiler. The libraries of the target come from its own packages, which
# stand beside the machine's at the paths that they have on the device too.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# Stands in front of every program of the build that is started. May be empty where the machine runs them itself: on the
# device, or where the kernel has a handler for them.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm CACHE STRING "What runs the programs of this build")
