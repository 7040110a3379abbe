# Installation: headers, both libraries, the tool, a CMake package
# (find_package(Velmora) gives Velmora::velmora) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/velmora DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_BINARY_DIR}/include/velmora/version.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora)
install(TARGETS velmora velmora_static EXPORT VelmoraTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT VelmoraTargets NAMESPACE Velmora:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Velmora)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VelmoraConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VelmoraConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Velmora)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelmoraConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelmoraConfig.cmake ${PROJECT_BINARY_DIR}/VelmoraConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Velmora)

# The pkg-config file names only the packages the library really links, and
# leaves the language standard to the user (C++20 or later): forcing one in
# Cflags would lower a C++23 build.
set(VELMORA_PC_REQUIRES_PRIVATE odbc)
if(PUGIXML_FOUND)
  string(APPEND VELMORA_PC_REQUIRES_PRIVATE " pugixml")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/velmora.pc.in ${PROJECT_BINARY_DIR}/velmora.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velmora.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
