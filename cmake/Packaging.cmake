# What is installed beside the programs, and the packages that CPack makes of it all.

include(ApplicationId)

if(NOT APPLE)
    install(FILES "data/${application_id}.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
    install(FILES "data/${application_id}.metainfo.xml" DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
    install(FILES data/icons/vantor-platformer.svg
        DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps" RENAME "${application_id}.svg")
    foreach(size 16 24 32 48 64 128 256 512)
        install(FILES "data/icons/vantor-platformer-${size}.png"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps" RENAME "${application_id}.png")
    endforeach()
    # Where Debian looks for a licence; other systems find it there as well.
    install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/vantor-platformer" RENAME copyright)
endif()

set(CPACK_PACKAGE_NAME vantor-platformer)
set(CPACK_PACKAGE_VENDOR "The Vantor Platformer developers")
set(CPACK_PACKAGE_CONTACT "The Vantor Platformer developers <vantor-platformer@users.noreply.github.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "download and play a small 2D platformer")
set(CPACK_PACKAGE_DESCRIPTION
    "Press Play: the launcher downloads the game and the official Godot build\nthat the game needs, checks that build against Godot's own list of\nchecksums, prepares the game's files and starts it.")
set(CPACK_RESOURCE_FILE_LICENSE "${CMAKE_SOURCE_DIR}/LICENSE")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)

if(NOT APPLE)
    set(CPACK_GENERATOR DEB)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION games)
    set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://github.com/Kestrelwood/Vantor")
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    # What no library names: whom to believe when a code host says who it is.
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "ca-certificates")
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland")
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
else()
    # Qt goes into the bundle while it is installed, and the whole of it onto a disk image.
    qt_generate_deploy_app_script(TARGET vantor-platformer FILENAME_VARIABLE deploy_script NO_UNSUPPORTED_PLATFORM_ERROR)
    install(SCRIPT "${deploy_script}")
    set(CPACK_GENERATOR DragNDrop)
    set(CPACK_DMG_VOLUME_NAME "Vantor Platformer")
endif()
include(CPack)
