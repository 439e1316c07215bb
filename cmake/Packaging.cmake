# What is installed besides the programs, and the packages that CPack builds.

include(ApplicationId)

# Installs `file` as NAME.gz in `folder`, without a timestamp, so that the same sources make the same package.
function(install_compressed file folder)
    find_program(GZIP gzip REQUIRED)
    cmake_path(GET file FILENAME name)
    set(compressed "${CMAKE_BINARY_DIR}/${name}.gz")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    execute_process(COMMAND "${GZIP}" -9nc INPUT_FILE "${CMAKE_SOURCE_DIR}/${file}" OUTPUT_FILE "${compressed}"
        COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${compressed}" DESTINATION "${folder}")
endfunction()

if(NOT APPLE)
    install(FILES "data/${application_id}.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
    install(FILES "data/${application_id}.metainfo.xml" DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
    install(FILES data/icons/vantor-platformer.svg
        DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps" RENAME "${application_id}.svg")
    foreach(size 16 24 32 48 64 128 256 512)
        install(FILES "data/icons/vantor-platformer-${size}.png"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps" RENAME "${application_id}.png")
    endforeach()
    # Debian's paths for the licence and the changelog, used on other systems too.
    install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/vantor-platformer" RENAME copyright)
    install_compressed(data/debian/changelog "${CMAKE_INSTALL_DATADIR}/doc/vantor-platformer")
    install_compressed(data/vantor-platformer.6 "${CMAKE_INSTALL_MANDIR}/man6")
endif()

set(CPACK_PACKAGE_NAME vantor-platformer)
set(CPACK_PACKAGE_VENDOR "The Vantor Platformer developers")
set(CPACK_PACKAGE_CONTACT "The Vantor Platformer developers <vantor-platformer@users.noreply.github.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "download and play a small 2D platformer")
set(CPACK_PACKAGE_DESCRIPTION
    "Press Play: the launcher downloads the game and the official Godot build\nthat the game needs, checks that build against Godot's own list of\nchecksums, prepares the game's files and starts it.")
set(CPACK_RESOURCE_FILE_LICENSE "${CMAKE_SOURCE_DIR}/LICENSE")
set(CPACK_VERBATIM_VARIABLES ON)

if(NOT APPLE)
    set(CPACK_GENERATOR DEB)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    # Not "games", whose programs Debian installs in /usr/games: this one only fetches a game.
    set(CPACK_DEBIAN_PACKAGE_SECTION misc)
    set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://github.com/Kestrelwood/Vantor")
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    # What SHLIBDEPS cannot see: the trusted certificates, and libcurl, loaded at run time (7.87 for CURLOPT_QUICK_EXIT).
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "ca-certificates, libcurl4 (>= 7.87)")
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, xdg-utils") # the second opens folders and pages
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
else()
    # macdeployqt copies Qt and the other libraries, also the unpacker's, into the bundle as it is installed; CPack puts
    # the bundle on a disk image. macdeployqt strips and signs, so CPack must not strip afterwards.
    find_program(MACDEPLOYQT macdeployqt HINTS "${QT6_INSTALL_PREFIX}/bin" REQUIRED)
    set(bundle "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/vantor-platformer.app")
    install(CODE "execute_process(COMMAND \"${MACDEPLOYQT}\" \"${bundle}\"
        \"-executable=${bundle}/Contents/MacOS/vantor-unpack\" COMMAND_ERROR_IS_FATAL ANY)")
    set(CPACK_GENERATOR DragNDrop)
    set(CPACK_DMG_VOLUME_NAME "Vantor Platformer")
endif()
include(CPack)
