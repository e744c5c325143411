# What an installation holds: the library, its headers, and how CMake and pkg-config find it. All of
# it keeps working when its folder is moved.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rastelo)

install(FILES include/rastelo.h include/rastelo_platform.h TYPE INCLUDE)
if(NOT WIN32)
  install(FILES include/rastelo_device.h TYPE INCLUDE)
endif()
install(TARGETS rastelo EXPORT rastelo INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT rastelo FILE rasteloTargets.cmake NAMESPACE rastelo:: DESTINATION ${package_dir})
configure_package_config_file(cmake/rasteloConfig.cmake.in rasteloConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(rasteloConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rasteloConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/rasteloConfigVersion.cmake
        DESTINATION ${package_dir})

# What a host needs that links the library in, and what it defines then.
set(private_libs "-lhwy -ljpeg")
if(WIN32)
  string(APPEND private_libs " -lgdi32")
endif()
if(NOT BUILD_SHARED_LIBS)
  set(definitions " -DRASTELO_STATIC")
endif()
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE prefix_from_pc)
configure_file(cmake/rastelo.pc.in rastelo.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rastelo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The command-line host finds the library beside it.
file(RELATIVE_PATH lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(CMAKE_INSTALL_RPATH $ORIGIN/${lib_from_bin})
