# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

# Compiles several sources of a target as one, which takes half the time. dev and release compile each source of a
# library alone, and so prove that it includes what it needs.

# tarn_targets_below(<variable> <directory>): the programs and libraries of a directory and those below it.
function(tarn_targets_below variable directory)
    get_property(found DIRECTORY "${directory}" PROPERTY BUILDSYSTEM_TARGETS)
    get_property(directories DIRECTORY "${directory}" PROPERTY SUBDIRECTORIES)
    foreach(below IN LISTS directories)
        tarn_targets_below(targets "${below}")
        list(APPEND found ${targets})
    endforeach()
    set(${variable} ${found} PARENT_SCOPE)
endfunction()

# tarn_compile_together(<directory>): the targets of a directory and those below it.
function(tarn_compile_together directory)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    tarn_targets_below(targets "${directory}")
    set(lines "")
    foreach(target IN LISTS targets)
        get_target_property(type ${target} TYPE)
        get_target_property(has_moc ${target} AUTOMOC)
        if(NOT type MATCHES "EXECUTABLE|LIBRARY" OR type STREQUAL "INTERFACE_LIBRARY" OR has_moc)
            continue()
        endif()
        get_target_property(sources ${target} SOURCES)
        get_target_property(source_directory ${target} SOURCE_DIR)
        list(FILTER sources INCLUDE REGEX "\\.cpp$")
        list(TRANSFORM sources PREPEND "${source_directory}/" REGEX "^[^/]")
        list(LENGTH sources count)
        if(count GREATER 1)
            string(APPEND lines "${target};${sources}\n")
            set_target_properties(
                ${target}
                PROPERTIES UNITY_BUILD ON
                           UNITY_BUILD_MODE GROUP
                           UNITY_BUILD_CODE_BEFORE_INCLUDE "// NOLINTNEXTLINE(bugprone-suspicious-include)")
            # The path of this folder keeps out of what is compiled, so that clones share it.
            target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
            # What a name hides, and what is declared twice, shows in a source by itself.
            target_compile_options(${target} PRIVATE -Wno-shadow -Wno-redundant-decls)
            if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
                target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
            endif()
        endif()
    endforeach()
    file(WRITE "${PROJECT_BINARY_DIR}/together.txt" "${lines}")
    execute_process(
        COMMAND "${Python3_EXECUTABLE}" "${PROJECT_SOURCE_DIR}/cmake/together.py" "${PROJECT_SOURCE_DIR}"
                "${PROJECT_BINARY_DIR}/together.txt"
        OUTPUT_FILE "${PROJECT_BINARY_DIR}/together.cmake" COMMAND_ERROR_IS_FATAL ANY)
    include("${PROJECT_BINARY_DIR}/together.cmake")
endfunction()
