# Compares what the module exports, and the libraries that it is bound to, with committed lists.
#   cmake -D MODULE=... -D DEF=... -D IMPORTS=... -D NM=... -D OBJDUMP=... -P check_exports.cmake
file(STRINGS ${DEF} expected REGEX "^ +Oracle")
list(TRANSFORM expected STRIP)
list(SORT expected)

if(MODULE MATCHES "\\.dll$")
    execute_process(COMMAND ${OBJDUMP} --private-headers ${MODULE}
                    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    # The table of names: "	[   0] OracleBackupLogs".
    string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] [^+ \n]+" exported "${output}")
    list(TRANSFORM exported REPLACE ".*\\] " "")
    string(REGEX MATCHALL "DLL Name: [^\n]+" imported "${output}")
else()
    execute_process(COMMAND ${OBJDUMP} --private-headers ${MODULE}
                    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "NEEDED +[^\n]+" imported "${output}")
    execute_process(COMMAND ${NM} -D --defined-only --format=posix ${MODULE}
                    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" lines "${output}")
    set(exported "")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE " .*" "" name "${line}")
        list(APPEND exported ${name})
    endforeach()
endif()
list(SORT exported)
list(TRANSFORM imported REPLACE ".* " "")
list(TRANSFORM imported TOLOWER)
list(SORT imported)
if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "exported: ${exported}\nexpected: ${expected}")
endif()
if(IMPORTS)
    file(STRINGS ${IMPORTS} allowed REGEX "^[^#]")
    if(NOT imported STREQUAL allowed)
        message(FATAL_ERROR "imported: ${imported}\nexpected: ${allowed}")
    endif()
endif()
