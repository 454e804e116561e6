# Every target of the project compiles with these warnings, and a warning fails the build.
add_library(velmora_warnings INTERFACE)
target_compile_options(velmora_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
  -Woverloaded-virtual -Wimplicit-fallthrough -Werror)
