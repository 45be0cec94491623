# Builds for 32-bit ARM with Debian's cross compiler. The libraries of the target come from its own packages, which
# stand beside the machine's at the paths that they have on the device too.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# Stands in front of every program of the build that is started, whether the kernel has a handler for them or not. The
# device needs none: -DCMAKE_CROSSCOMPILING_EMULATOR=
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm CACHE STRING "What runs the programs of this build")

# GCC 7.1 passes some arguments otherwise than GCC 6 did, and tells wherever that is so: nothing here is that old.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
