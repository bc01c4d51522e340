# Compares the module's dynamic symbols with the committed list of exports.
#   cmake -D MODULE=... -D DEF=... -D NM=... -P check_exports.cmake
file(STRINGS ${DEF} expected REGEX "^ +Oracle")
list(TRANSFORM expected STRIP)
list(SORT expected)
execute_process(COMMAND ${NM} -D --defined-only --format=posix ${MODULE}
                OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${output}")
set(exported "")
foreach(line IN LISTS lines)
    string(REGEX REPLACE " .*" "" name "${line}")
    list(APPEND exported ${name})
endforeach()
list(SORT exported)
if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "exported: ${exported}\nexpected: ${expected}")
endif()
