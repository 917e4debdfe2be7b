# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

# What every target of this project has in common.

# tarn_target(<target>): C++17 without extensions, hidden symbols, and the project's warnings.
function(tarn_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(
        ${target}
        PROPERTIES CXX_EXTENSIONS OFF
                   CXX_VISIBILITY_PRESET hidden
                   VISIBILITY_INLINES_HIDDEN ON)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND PROJECT_IS_TOP_LEVEL)
        target_compile_options(
            ${target}
            PRIVATE -Wall
                    -Wextra
                    -Wpedantic
                    -Wshadow
                    -Wconversion
                    -Wsign-conversion
                    -Wold-style-cast
                    -Woverloaded-virtual
                    -Wnon-virtual-dtor
                    -Wcast-align
                    -Wcast-qual
                    -Wformat=2
                    -Wnull-dereference
                    -Wundef
                    -Wredundant-decls
                    -Wzero-as-null-pointer-constant
                    -Wdouble-promotion)
        if(TARN_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    endif()
endfunction()

# tarn_library(<target> <alias>): a shared library of this project, with its version and soname.
# While the version is 0.x, each minor release may break the binary interface, so the soname names it.
function(tarn_library target alias)
    add_library(${target} SHARED)
    add_library(${alias} ALIAS ${target})
    tarn_target(${target})
    set_target_properties(
        ${target} PROPERTIES VERSION ${PROJECT_VERSION}
                             SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    if(UNIX AND NOT APPLE)
        set(map "${PROJECT_SOURCE_DIR}/cmake/private.map")
        target_link_options(${target} PRIVATE "LINKER:--version-script=${map}")
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${map}")
    endif()
endfunction()

# tarn_part(<target>): a library beside the model: its public headers lie in include/, what is private in src/, and
# Export.h knows by a definition, TARN_KIT_BUILDING for tarn_kit, that the library itself is being built.
function(tarn_part target)
    tarn_library(${target} tarn::${target})
    target_include_directories(
        ${target}
        PUBLIC "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>"
               "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>"
        PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/src")
    string(TOUPPER "${target}" name)
    target_compile_definitions(${target} PRIVATE ${name}_BUILDING)
endfunction()
