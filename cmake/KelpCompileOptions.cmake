# Flags that every target of this tree is built with: warnings, large files, hardening, and the sanitizers where they are
# asked for.
add_library(kelp-compile-options INTERFACE)
target_compile_options(kelp-compile-options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wformat=2 -Wundef $<$<BOOL:${KELP_WERROR}>:-Werror>)

# Files of 2 GiB and more on 32-bit processors, and inodes of more than 32 bits. Hosts are compiled as they like: no public
# header has a type whose size depends on it.
target_compile_definitions(kelp-compile-options INTERFACE _FILE_OFFSET_BITS=64)

# Against what a fault in the memory of one process could be used for: a stack that is overrun ends the process, as does
# a C library call that would overrun an object of known size; tables of addresses are read-only once the process has
# started; programs are loaded at random addresses. The sanitizers have checks of their own.
if(KELP_HARDEN AND NOT KELP_SANITIZE)
  include(CheckPIESupported)
  check_pie_supported()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  target_compile_options(kelp-compile-options INTERFACE -fstack-protector-strong)
  # Without the optimizer the C library's checks are not there, and its headers complain.
  target_compile_options(kelp-compile-options INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
endif()

if(KELP_SANITIZE)
  add_compile_options(-fsanitize=${KELP_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KELP_SANITIZE})
endif()
