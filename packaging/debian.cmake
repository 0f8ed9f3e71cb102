# The Debian package: `cmake --build <build> --target package` with a build configured
# for /usr (tools/quickstart deb does both). Everything installed goes in, so a program
# added with ostrakit_install_program() needs nothing here.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ostrakit)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Ostrakit developers <ostrakit@example.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "flash ARM development boards over USB")
# CPack puts the summary first and indents the rest.
set(CPACK_PACKAGE_DESCRIPTION "Ostrakit finds a board whose Halvorn boot loader is in USB download mode,
identifies its processor and writes boot loader, kernel, ramdisk, root file
system, Android, Linux or Windows CE images to its flash, or runs a bare-metal
program from RAM, with a progress bar and a coloured log. It also has a serial
terminal for the board's console. English and Chinese.")
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.example.com/")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Depends come from the shared libraries the programs link (dpkg-shlibdeps), plus Qt's
# platform plugins, which are loaded at run time and which libqt6gui6 only recommends:
# without them there is no window. The Chinese interface wants a CJK font.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "udev, fonts-noto-cjk")
set(CPACK_STRIP_FILES ON)
# The install runs with DESTDIR and the real prefix, so the udev rule lands in udev's
# own folder inside the package.
set(CPACK_SET_DESTDIR ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

configure_file(debian/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/changelog @ONLY)
add_custom_command(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
    COMMAND sh -c "gzip -9n < changelog > changelog.gz"
    DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/changelog
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} VERBATIM)
add_custom_target(ostrakit_changelog ALL DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz debian/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ostrakit)

include(CPack)
