# install_developer_package(<name> TARGETS <export set> PKGCONFIG <module> COMPONENT <component>)
# Installs find_package(<name>) and pkg-config's <module>, from <name>Config.cmake.in and <module>.pc.in of the
# calling folder. Both are found again wherever the installed tree is moved to.
include(CMakePackageConfigHelpers)

function(install_developer_package name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TARGETS;PKGCONFIG;COMPONENT" "")
    set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/${name}")
    configure_package_config_file(${name}Config.cmake.in "${CMAKE_CURRENT_BINARY_DIR}/${name}Config.cmake"
        INSTALL_DESTINATION "${folder}")
    write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/${name}ConfigVersion.cmake"
        COMPATIBILITY SameMinorVersion)
    install(EXPORT ${arg_TARGETS} NAMESPACE ${name}:: DESTINATION "${folder}" COMPONENT ${arg_COMPONENT})
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}Config.cmake"
        "${CMAKE_CURRENT_BINARY_DIR}/${name}ConfigVersion.cmake"
        DESTINATION "${folder}" COMPONENT ${arg_COMPONENT})

    set(modules "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
    file(RELATIVE_PATH PC_PREFIX "${modules}" "${CMAKE_INSTALL_PREFIX}")
    string(REGEX REPLACE "/$" "" PC_PREFIX "${PC_PREFIX}")
    file(RELATIVE_PATH PC_LIBDIR "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    file(RELATIVE_PATH PC_INCLUDEDIR "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
    configure_file(${arg_PKGCONFIG}.pc.in ${arg_PKGCONFIG}.pc @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${arg_PKGCONFIG}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT ${arg_COMPONENT})
endfunction()
