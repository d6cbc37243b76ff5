# Installation: headers, both libraries, the CMake package (vxkrn::vxkrn,
# vxkrn::vxkrn_static) and the pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vxkrn DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS vxkrn vxkrn_static EXPORT vxkrnTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(VXKRN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vxkrn)
install(EXPORT vxkrnTargets NAMESPACE vxkrn:: DESTINATION ${VXKRN_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vxkrnConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vxkrnConfig.cmake INSTALL_DESTINATION ${VXKRN_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vxkrnConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vxkrnConfig.cmake ${PROJECT_BINARY_DIR}/vxkrnConfigVersion.cmake
  DESTINATION ${VXKRN_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/vxkrn.pc.in ${PROJECT_BINARY_DIR}/vxkrn.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vxkrn.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
