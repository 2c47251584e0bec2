include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS tavkivut tavkivlg EXPORT tavkivutTargets
  RUNTIME DESTINATION bin ARCHIVE DESTINATION lib LIBRARY DESTINATION lib)
install(TARGETS kivctl RUNTIME DESTINATION bin)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION include FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/lib/tavkivlg/tavkivlg.h DESTINATION include/tavkivlg)
install(EXPORT tavkivutTargets NAMESPACE tavkivut:: DESTINATION lib/cmake/tavkivut)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tavkivutConfig.cmake.in
  ${PROJECT_BINARY_DIR}/tavkivutConfig.cmake INSTALL_DESTINATION lib/cmake/tavkivut)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tavkivutConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tavkivutConfig.cmake ${PROJECT_BINARY_DIR}/tavkivutConfigVersion.cmake
  DESTINATION lib/cmake/tavkivut)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION .)
# The library holds parts of Mbed TLS, whose license goes where they go.
install(FILES ${KIV_MBEDTLS_SOURCE_DIR}/LICENSE DESTINATION . RENAME LICENSE-mbedtls)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION .)
