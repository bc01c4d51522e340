# Compares the marks of a program or library for Windows with a committed list.
#   cmake -D FILE=... -D MARKS=... -D MANIFEST=... -D OBJDUMP=... -D NM=... -P check_marks.cmake
# MANIFEST is a text that the program's manifest holds, empty where it has none.
execute_process(COMMAND ${OBJDUMP} --private-headers ${FILE}
                OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "M[ajinor]+SubsystemVersion\t[0-9]+" found "${headers}")
list(TRANSFORM found REPLACE "\t" " ")
string(REGEX MATCH "\nDllCharacteristics\t[0-9a-f]+\n(\t+ [A-Z_ ]*[A-Z_]+\n|\t+[A-Z_]+\n)*" flags "${headers}")
string(REGEX MATCHALL "[A-Z][A-Z_]+[A-Z]" flags "${flags}")
list(APPEND found ${flags})
# In the symbols beside it: the stack's guard is ours, not that of a library.
execute_process(COMMAND ${NM} ${FILE}.debug OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "__stack_chk_guard" guard "${symbols}")
list(APPEND found ${guard})
file(STRINGS ${MARKS} expected REGEX "^[^#]")
if(NOT found STREQUAL expected)
    message(FATAL_ERROR "marks: ${found}\nexpected: ${expected}")
endif()
if(MANIFEST)
    file(STRINGS ${FILE} manifest REGEX ${MANIFEST})
    if(NOT manifest)
        message(FATAL_ERROR "${FILE} has no manifest with ${MANIFEST}")
    endif()
endif()
