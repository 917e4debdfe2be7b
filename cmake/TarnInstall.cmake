# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

# What `cmake --install` puts in place: headers, libraries, the CMake package `tarn_sdk` and a
# pkg-config module per library.
include(CMakePackageConfigHelpers)

set(tarn_installed_targets tarn_sdk)
install(DIRECTORY include/tarn include/tsignal DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
if(TARN_BUILD_KIT)
    list(APPEND tarn_installed_targets tarn_kit)
    install(DIRECTORY kit/include/tarn_kit DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    install(DIRECTORY kit/data/markers DESTINATION "${CMAKE_INSTALL_DATADIR}/tarn_kit")
    set_target_properties(tarn_kit PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET tarn_draw)
    list(APPEND tarn_installed_targets tarn_draw)
    install(DIRECTORY draw/include/tarn_draw DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    set_target_properties(tarn_draw PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET tarn_store)
    list(APPEND tarn_installed_targets tarn_store)
    install(DIRECTORY store/include/tarn_store DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    set_target_properties(tarn_store PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET tarn_link)
    list(APPEND tarn_installed_targets tarn_link)
    install(DIRECTORY link/include/tarn_link DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    set_target_properties(tarn_link PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET tarn_view)
    list(APPEND tarn_installed_targets tarn_view)
    install(DIRECTORY view/include/tarn_view DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    set_target_properties(tarn_view PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()

# Documents and examples, which link to each other as they do in the sources.
install(FILES LICENSE NOTICE README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(
    DIRECTORY examples
    DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    PATTERN CMakeLists.txt EXCLUDE
    PATTERN expected EXCLUDE)

set(tarn_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/tarn_sdk")
install(TARGETS ${tarn_installed_targets} EXPORT tarn_sdkTargets)
install(
    EXPORT tarn_sdkTargets
    NAMESPACE tarn::
    DESTINATION "${tarn_package_dir}")

configure_package_config_file(cmake/tarn_sdkConfig.cmake.in "${PROJECT_BINARY_DIR}/tarn_sdkConfig.cmake"
                              INSTALL_DESTINATION "${tarn_package_dir}")
# While the version is 0.x, a consumer of 0.1 must not get 0.2.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/tarn_sdkConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/tarn_sdkConfig.cmake"
              "${PROJECT_BINARY_DIR}/tarn_sdkConfigVersion.cmake" DESTINATION "${tarn_package_dir}")

# tarn_pkg_config(<module> <description> <requires>): installs <module>.pc, relocatable with its prefix.
function(tarn_pkg_config module description requires)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY
               "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE prefix_from_pc)
    set(pc_module "${module}")
    set(pc_description "${description}")
    set(pc_requires "${requires}")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/module.pc.in" "${PROJECT_BINARY_DIR}/${module}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${module}.pc"
            DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()

tarn_pkg_config(tarn_sdk "${PROJECT_DESCRIPTION}" "")
if(TARN_BUILD_KIT)
    tarn_pkg_config(tarn_kit "Ready-made parts on top of tarn_sdk" "tarn_sdk = ${PROJECT_VERSION}")
endif()
if(TARGET tarn_draw)
    tarn_pkg_config(tarn_draw "Drawings of motion on top of tarn_kit" "tarn_kit = ${PROJECT_VERSION}")
endif()
if(TARGET tarn_store)
    tarn_pkg_config(tarn_store "Take files on top of tarn_kit" "tarn_kit = ${PROJECT_VERSION}")
endif()
if(TARGET tarn_link)
    tarn_pkg_config(tarn_link "Captures on several machines, on top of tarn_kit" "tarn_kit = ${PROJECT_VERSION}")
endif()
if(TARGET tarn_view)
    tarn_pkg_config(tarn_view "Pages that play takes, on top of tarn_kit" "tarn_kit = ${PROJECT_VERSION}")
endif()
