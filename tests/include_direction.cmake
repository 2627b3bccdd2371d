# Checks that source folders include only from themselves and from folders below them.
# Run as: cmake -DSOURCE_DIR=<repo>/src -P include_direction.cmake
#
# Folders from the bottom up; folders of one rank may use each other. A folder that is
# not listed is not checked, nor is an include of it.
set(ranks
    common=0 tools=1 connection=2 automation=3 scripting=4 plot=5 decode=5 session=6
    app=7 cli=8)

foreach(entry ${ranks})
    string(REPLACE "=" ";" pair ${entry})
    list(GET pair 0 folder)
    list(GET pair 1 rank)
    set(rank_${folder} ${rank})
endforeach()

set(violations "")
file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/*.h ${SOURCE_DIR}/*.cpp)
foreach(source ${sources})
    string(REGEX MATCH "^[^/]+" folder ${source})
    if(NOT DEFINED rank_${folder})
        continue()
    endif()
    file(STRINGS ${SOURCE_DIR}/${source} includes REGEX "^#include \"[a-z]+/")
    foreach(line ${includes})
        string(REGEX REPLACE "^#include \"([a-z]+)/.*" "\\1" target "${line}")
        if(DEFINED rank_${target} AND rank_${target} GREATER rank_${folder})
            string(APPEND violations "  ${source}: ${line}\n")
        endif()
    endforeach()
endforeach()

if(violations)
    message(FATAL_ERROR "Includes from a folder above:\n${violations}")
endif()
