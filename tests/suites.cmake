# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

# Writes a file that tells ctest of a test program's suites, each of which is a test to it. Starting a program for every
# single test takes longer than most tests.
#
# usage: cmake -DPROGRAM=FILE -DTHREADS=FILTER -DLEFT_OUT=FILTER -DOUT=FILE -P suites.cmake
#   THREADS    the suites that carry the label "threads"
#   LEFT_OUT   tests that are not run

# tests_of(<variable> <filter> <property>...): adds a test for each suite of which the filter lets tests through.
function(tests_of variable filter)
    execute_process(COMMAND "${PROGRAM}" --gtest_list_tests "--gtest_filter=${filter}:${LEFT_OUT}" OUTPUT_VARIABLE listed
                            COMMAND_ERROR_IS_FATAL ANY)
    # Suites stand at the left, with a point, and the type that they are for as a comment.
    string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\." suites "${listed}")
    foreach(suite IN LISTS suites)
        string(REGEX REPLACE "^\n|\\.$" "" suite "${suite}")
        string(APPEND ${variable} "add_test([==[${suite}]==] [==[${PROGRAM}]==] --gtest_brief=1 "
                                  "[==[--gtest_filter=${suite}.*-${LEFT_OUT}]==])\n")
        string(APPEND ${variable} "set_tests_properties([==[${suite}]==] PROPERTIES TIMEOUT 7200 ${ARGN})\n")
    endforeach()
    set(${variable} "${${variable}}" PARENT_SCOPE)
endfunction()

tests_of(tests "-${THREADS}")
tests_of(tests "${THREADS}-" LABELS threads)
if(NOT tests)
    message(FATAL_ERROR "${PROGRAM} has no tests")
endif()
file(WRITE "${OUT}" "${tests}")
