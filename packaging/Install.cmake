# What is installed, by component: library (what a program needs to show a panel), development (what it is compiled with)
# and terminal.
include(CMakePackageConfigHelpers)

# Who installs has built what he installs: not the tests.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(PBT_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/PanelBasketTasks)
set(PBT_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/PanelBasketTasks)
set(PBT_DATA_INSTALL_DIR ${CMAKE_INSTALL_DATADIR}/panel-basket-tasks)

# The host's library and the plug-in lie together, where nothing else of that name is.
set_target_properties(host PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                      INSTALL_RPATH "\$ORIGIN")
set_target_properties(PanelBasketTasks PROPERTIES INSTALL_RPATH "\$ORIGIN")
install(TARGETS host EXPORT PanelBasketTasksTargets
        LIBRARY DESTINATION ${PBT_LIB_DIR} COMPONENT library NAMELINK_COMPONENT development
        INCLUDES DESTINATION ${PBT_HEADER_DIR})
install(TARGETS PanelBasketTasks LIBRARY DESTINATION ${PBT_LIB_DIR} COMPONENT library)

# Included as in the source tree.
foreach(room IN ITEMS gv ksservice tc utils)
  install(DIRECTORY host/${room} DESTINATION ${PBT_HEADER_DIR} COMPONENT development FILES_MATCHING PATTERN "*.h"
          PATTERN themes EXCLUDE)
endforeach()
install(FILES ${PBT_EXPORTED_HEADERS} DESTINATION ${PBT_HEADER_DIR} COMPONENT development)

# The test kit, for who asks for it: find_package(PanelBasketTasks COMPONENTS testkit).
set_target_properties(testkit PROPERTIES OUTPUT_NAME panelbaskettasks-testkit)
install(TARGETS desk journal testkit EXPORT PanelBasketTasksTestkit
        ARCHIVE DESTINATION ${PBT_LIB_DIR} COMPONENT development
        INCLUDES DESTINATION ${PBT_HEADER_DIR}/testkit)
foreach(room IN ITEMS testkit terminal/desk terminal/journal)
  install(DIRECTORY ${room}/ DESTINATION ${PBT_HEADER_DIR}/testkit COMPONENT development FILES_MATCHING PATTERN "*.h")
endforeach()
install(EXPORT PanelBasketTasksTestkit NAMESPACE PanelBasketTasks:: DESTINATION ${PBT_PACKAGE_DIR}
        COMPONENT development)

install(EXPORT PanelBasketTasksTargets NAMESPACE PanelBasketTasks:: DESTINATION ${PBT_PACKAGE_DIR}
        COMPONENT development)
configure_package_config_file(packaging/PanelBasketTasksConfig.cmake.in PanelBasketTasksConfig.cmake
  INSTALL_DESTINATION ${PBT_PACKAGE_DIR} PATH_VARS PBT_LIB_DIR)
write_basic_package_version_file(PanelBasketTasksConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/PanelBasketTasksConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/PanelBasketTasksConfigVersion.cmake
        DESTINATION ${PBT_PACKAGE_DIR} COMPONENT development)

set_target_properties(basket-terminal PROPERTIES INSTALL_RPATH "\$ORIGIN/../${PBT_LIB_DIR}")
install(TARGETS basket-terminal RUNTIME COMPONENT terminal)
install(FILES data/instruments.csv DESTINATION ${PBT_DATA_INSTALL_DIR} COMPONENT terminal)
install(DIRECTORY data/baskets DESTINATION ${PBT_DATA_INSTALL_DIR} COMPONENT terminal)
install(FILES packaging/basket-terminal.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT terminal)
install(FILES packaging/basket-terminal.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
        COMPONENT terminal)
