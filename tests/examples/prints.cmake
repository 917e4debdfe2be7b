# cmake -DPROGRAM=... -DEXPECTED=... -P prints.cmake: fails unless PROGRAM succeeds and prints what
# the file EXPECTED holds, and nothing on standard error.
execute_process(COMMAND "${PROGRAM}" OUTPUT_VARIABLE printed ERROR_VARIABLE errors RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
if(NOT result EQUAL 0 OR NOT printed STREQUAL expected OR NOT errors STREQUAL "")
    message(FATAL_ERROR "exit code ${result}\nexpected:\n${expected}\nprinted:\n${printed}\nerrors:\n${errors}")
endif()
