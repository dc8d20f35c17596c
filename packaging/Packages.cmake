# `cpack`: Debian packages, one for each component.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR PanelBasketTasks)
set(CPACK_PACKAGE_CONTACT "PanelBasketTasks <maintainer@panel-basket-tasks.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Watches and steers basket tasks")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development terminal)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)

# It reads zip files by a part of Qt that may change with each of its versions: dpkg-shlibdeps finds which was built with.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libpanelbaskettasks${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS libqt5svg5)  # of the icons
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "The panel of basket tasks and the library of what it asks of its host.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libpanelbaskettasks-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libpanelbaskettasks${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), qtbase5-dev, libboost-dev, libboost-thread-dev, nlohmann-json3-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "What a host of the panel of basket tasks is compiled with.")

# Without a font there are boxes instead of Chinese.
set(CPACK_DEBIAN_TERMINAL_PACKAGE_NAME panel-basket-tasks)
set(CPACK_DEBIAN_TERMINAL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TERMINAL_PACKAGE_DEPENDS
    "libpanelbaskettasks${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), fonts-wqy-microhei, qttranslations5-l10n")
set(CPACK_COMPONENT_TERMINAL_DESCRIPTION
    "A terminal with a simulated exchange around the panel of basket tasks, for one machine.")
# The host's library comes with the other package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/bin)
include(CPack)
