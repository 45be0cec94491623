# Flags that every target of this tree is compiled with: warnings, and the sanitizers where they are asked for.
add_library(kelp-compile-options INTERFACE)
target_compile_options(kelp-compile-options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wformat=2 -Wundef $<$<BOOL:${KELP_WERROR}>:-Werror>)

if(KELP_SANITIZE)
  add_compile_options(-fsanitize=${KELP_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KELP_SANITIZE})
endif()
