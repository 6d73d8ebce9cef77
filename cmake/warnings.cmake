# Warnings are errors in everything that is written here; third-party targets do not link this.
add_library(brisk_warnings INTERFACE)
target_compile_options(brisk_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wundef -Wcast-align -Wcast-qual -Wwrite-strings
  -Wpointer-arith -Wvla -Wimplicit-fallthrough
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Wold-style-cast;-Woverloaded-virtual;-Wextra-semi>)
