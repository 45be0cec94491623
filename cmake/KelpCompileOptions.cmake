# Flags that every target of this tree is compiled with: warnings, large files, and the sanitizers where they are asked
# for.
add_library(kelp-compile-options INTERFACE)
target_compile_options(kelp-compile-options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wformat=2 -Wundef $<$<BOOL:${KELP_WERROR}>:-Werror>)

# Files of 2 GiB and more on 32-bit processors, and inodes of more than 32 bits. Hosts are compiled as they like: no public
# header has a type whose size depends on it.
target_compile_definitions(kelp-compile-options INTERFACE _FILE_OFFSET_BITS=64)

if(KELP_SANITIZE)
  add_compile_options(-fsanitize=${KELP_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KELP_SANITIZE})
endif()
