# Headers, libraries, the CMake package and the pkg-config file. Components: runtime, development; tools and python are
# installed beside their sources.
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

install(DIRECTORY include/kip DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(TARGETS kiphost kipgauss EXPORT kipgauss LIBRARY COMPONENT runtime NAMELINK_COMPONENT development)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kipgauss)
install(EXPORT kipgauss NAMESPACE kip:: FILE kipgaussTargets.cmake DESTINATION ${package_dir})
configure_package_config_file(cmake/kipgaussConfig.cmake.in ${PROJECT_BINARY_DIR}/kipgaussConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kipgaussConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kipgaussConfig.cmake ${PROJECT_BINARY_DIR}/kipgaussConfigVersion.cmake
        DESTINATION ${package_dir})

# Paths relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH KIP_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" KIP_PC_PREFIX "${KIP_PC_PREFIX}")
foreach(name kipgauss kipgauss-cpp)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
