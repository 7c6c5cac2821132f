# What a system install holds besides the programs (the launcher entry, the app's icon, its
# AppStream metadata, the manual pages, the completion of aerovadrive-ctl, the copyright and
# changelog), and the Debian package CPack makes of it: scripts/package.
include(GNUInstallDirs)

set(AEROVA_DATA "${PROJECT_SOURCE_DIR}/data")
set(AEROVA_DOC_DIR "${CMAKE_INSTALL_DATADIR}/doc/aerovadrive")

install(FILES "${AEROVA_DATA}/icons/com.quillmere.AerovaDriveApp.svg"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
install(FILES "${AEROVA_DATA}/com.quillmere.AerovaDriveApp.metainfo.xml"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
install(FILES "${AEROVA_DATA}/completion/aerovadrive-ctl"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
install(FILES "${AEROVA_DATA}/copyright" DESTINATION "${AEROVA_DOC_DIR}")

# manual pages and the changelog go compressed, without a time stamp, as Debian keeps them
set(AEROVA_COMPRESSED)
foreach(page aerovadrive.1 aerovadrive-ctl.1 aerovadrive-syncd.1)
    add_custom_command(OUTPUT "${CMAKE_BINARY_DIR}/man/${page}.gz"
        COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_BINARY_DIR}/man"
        COMMAND sh -c "gzip -9n -c '${AEROVA_DATA}/man/${page}' > '${CMAKE_BINARY_DIR}/man/${page}.gz'"
        DEPENDS "${AEROVA_DATA}/man/${page}" VERBATIM)
    list(APPEND AEROVA_COMPRESSED "${CMAKE_BINARY_DIR}/man/${page}.gz")
    install(FILES "${CMAKE_BINARY_DIR}/man/${page}.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
endforeach()
add_custom_command(OUTPUT "${CMAKE_BINARY_DIR}/changelog.gz"
    COMMAND sh -c "gzip -9n -c '${AEROVA_DATA}/changelog' > '${CMAKE_BINARY_DIR}/changelog.gz'"
    DEPENDS "${AEROVA_DATA}/changelog" VERBATIM)
list(APPEND AEROVA_COMPRESSED "${CMAKE_BINARY_DIR}/changelog.gz")
install(FILES "${CMAKE_BINARY_DIR}/changelog.gz" DESTINATION "${AEROVA_DOC_DIR}")
add_custom_target(aerova_compressed_docs ALL DEPENDS ${AEROVA_COMPRESSED})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME aerovadrive)
set(CPACK_PACKAGE_VENDOR Quillmere)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "browser of a cloud drive for Linux phones, tablets and laptops")
set(CPACK_PACKAGE_CONTACT "Quillmere <aerova-drive@quillmere.com>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# the autostart entry lives in /etc/xdg whatever the prefix: installed into a staging root
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://quillmere.com/aerova-drive")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Aerova Drive lists the folders of the cloud drive that its sync
service keeps on the device, one screen at a time. It makes folders,
renames, moves and deletes items, shows the free storage, previews
documents, downloads on demand the items that are only on the drive,
and shows an item's details and coloured tags.
.
The sync service keeps the drive in step with any WebDAV server
(Nextcloud, ownCloud, Apache and others); aerovadrive-ctl sets the
drive up and tells its state.")
# the libraries come from the programs; these are read at run time without being linked: the
# icon themes, the MIME database, the players' plugins, the SQLite driver of the sync journal
# and the platform plugin of Wayland sessions
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "adwaita-icon-theme, hicolor-icon-theme, shared-mime-info, libqt6sql6-sqlite, gstreamer1.0-plugins-base, gstreamer1.0-plugins-good")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, gnome-keyring | kwalletmanager | keepassxc, bash-completion")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${AEROVA_DATA}/debian/conffiles")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_OUTPUT_FILE_PREFIX "${CMAKE_BINARY_DIR}/package")
include(CPack)
