# One warning set for every target of the project.
add_library(velmora_warnings INTERFACE)
target_compile_options(velmora_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(velmora_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
