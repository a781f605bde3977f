include(CMakePackageConfigHelpers)

set(qzgc_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/QZGameController")
install(TARGETS QZGameController EXPORT QZGameControllerTargets
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/qzgamecontroller-${PROJECT_VERSION_MAJOR}")
install(EXPORT QZGameControllerTargets NAMESPACE QZGameController:: DESTINATION "${qzgc_package_dir}")

configure_package_config_file(packaging/QZGameControllerConfig.cmake.in
    "${PROJECT_BINARY_DIR}/QZGameControllerConfig.cmake" INSTALL_DESTINATION "${qzgc_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QZGameControllerConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/QZGameControllerConfig.cmake" "${PROJECT_BINARY_DIR}/QZGameControllerConfigVersion.cmake"
    DESTINATION "${qzgc_package_dir}")

# pkg-config: the paths are relative to the file, so that an installed tree can be moved. A directory that the packager
# gave as an absolute path stays where it was put.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(qzgc_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH qzgc_pc_up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(REGEX REPLACE "/$" "" qzgc_pc_prefix "\${pcfiledir}/${qzgc_pc_up}")
endif()
foreach(kind IN ITEMS LIB INCLUDE)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}DIR}")
        set(qzgc_pc_${kind}dir "${CMAKE_INSTALL_${kind}DIR}")
    else()
        set(qzgc_pc_${kind}dir "\${prefix}/${CMAKE_INSTALL_${kind}DIR}")
    endif()
endforeach()
configure_file(packaging/qzgamecontroller.pc.in "${PROJECT_BINARY_DIR}/qzgamecontroller.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qzgamecontroller.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    # Not below CMAKE_INSTALL_LIBDIR, which may name an architecture: udev looks into lib/udev alone.
    install(FILES packaging/60-qzgamecontroller.rules DESTINATION lib/udev/rules.d)
    install(FILES docs/linux.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
endif()
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
