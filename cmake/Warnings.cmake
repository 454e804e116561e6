# Every target of the project compiles with these warnings, and a warning fails the build.
add_library(velmora_warnings INTERFACE)
target_compile_options(velmora_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
  -Woverloaded-virtual -Wimplicit-fallthrough -Werror)
# GCC 12 reports a false "restrict" overlap inside std::string's operator+ at -O2/-O3
# (GCC bug 105329); the warning says nothing about our code.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(velmora_warnings INTERFACE -Wno-restrict)
endif()
