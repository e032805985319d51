# The CMake package: find_package(Varo) gives Varo::zon, Varo::platform and Varo::varo.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Varo)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/VaroConfig.cmake @ONLY
  CONTENT "include(\${CMAKE_CURRENT_LIST_DIR}/VaroTargets.cmake)\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VaroConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(EXPORT VaroTargets NAMESPACE Varo:: DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/VaroConfig.cmake ${PROJECT_BINARY_DIR}/VaroConfigVersion.cmake
  DESTINATION ${package_dir})
