# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

# cmake -DEXPECTED=... -P prints.cmake -- PROGRAM ARGUMENTS...: fails unless PROGRAM succeeds and prints
# what the file EXPECTED holds, and nothing on standard error.
set(command)
set(index 0)
set(in_command FALSE)
while(index LESS CMAKE_ARGC)
    if(in_command)
        list(APPEND command "${CMAKE_ARGV${index}}")
    elseif(CMAKE_ARGV${index} STREQUAL "--")
        set(in_command TRUE)
    endif()
    math(EXPR index "${index} + 1")
endwhile()
execute_process(COMMAND ${command} OUTPUT_VARIABLE printed ERROR_VARIABLE errors RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
if(NOT result EQUAL 0 OR NOT printed STREQUAL expected OR NOT errors STREQUAL "")
    message(FATAL_ERROR "exit code ${result}\nexpected:\n${expected}\nprinted:\n${printed}\nerrors:\n${errors}")
endif()
