# Debian packages, built by CPack from the release tree:
#   libzuplatform6     the shared object and its SONAME link
#   libzuplatform-dev  headers, the link for the linker, CMake package, .pc
# Both install under /usr with the library in the multiarch directory, a
# layout of their own: their install rules belong to the components
# deb_runtime and deb_dev and are left out of a plain `cmake --install`,
# which keeps producing the relocatable tree with lib/ beside plugins/.
# The shared object is the same file in both layouts, run path included.
set(ZU_DEB_PREFIX /usr)
if(CMAKE_LIBRARY_ARCHITECTURE)
  set(ZU_DEB_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
else()
  set(ZU_DEB_LIBDIR lib/x86_64-linux-gnu)
endif()
set(ZU_DEB_CMAKE_DIR ${ZU_DEB_LIBDIR}/cmake/ZuPlatform)
set(ZU_DEB_RUNTIME libzuplatform${PROJECT_VERSION_MAJOR})
set(ZU_DEB_DEV libzuplatform-dev)
set(ZU_DEB_MAINTAINER
  "Seed b4dfb8d5 maintainers <maintainers@users.noreply.c-seed-b4dfb8d5.example>"
  CACHE STRING "Maintainer field of the Debian packages")

install(TARGETS ZuPlatform EXPORT ZuPlatformDebTargets
  LIBRARY DESTINATION ${ZU_DEB_LIBDIR}
    COMPONENT deb_runtime NAMELINK_COMPONENT deb_dev EXCLUDE_FROM_ALL
  INCLUDES DESTINATION include)
install(DIRECTORY include/ZuPlatform DESTINATION include
  COMPONENT deb_dev EXCLUDE_FROM_ALL)
install(EXPORT ZuPlatformDebTargets FILE ZuPlatformTargets.cmake
  NAMESPACE ZuPlatform:: DESTINATION ${ZU_DEB_CMAKE_DIR}
  COMPONENT deb_dev EXCLUDE_FROM_ALL)
configure_package_config_file(cmake/ZuPlatformConfig.cmake.in
  ${PROJECT_BINARY_DIR}/deb/ZuPlatformConfig.cmake
  INSTALL_DESTINATION ${ZU_DEB_CMAKE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/deb/ZuPlatformConfig.cmake
              ${PROJECT_BINARY_DIR}/ZuPlatformConfigVersion.cmake
  DESTINATION ${ZU_DEB_CMAKE_DIR} COMPONENT deb_dev EXCLUDE_FROM_ALL)
# A system library needs neither a relocatable prefix nor a run path.
set(ZU_PC_PREFIX ${ZU_DEB_PREFIX})
set(ZU_PC_LIBDIR ${ZU_DEB_LIBDIR})
set(ZU_PC_RPATH "")
configure_file(cmake/ZuPlatform.pc.in ${PROJECT_BINARY_DIR}/deb/ZuPlatform.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/deb/ZuPlatform.pc
  DESTINATION ${ZU_DEB_LIBDIR}/pkgconfig COMPONENT deb_dev EXCLUDE_FROM_ALL)
# Policy asks for a copyright file and a compressed changelog in each
# package's documentation directory; -n keeps the archive reproducible.
string(TIMESTAMP ZU_DEB_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/changelog.in ${PROJECT_BINARY_DIR}/deb/changelog @ONLY)
execute_process(COMMAND gzip -9nc INPUT_FILE ${PROJECT_BINARY_DIR}/deb/changelog
  OUTPUT_FILE ${PROJECT_BINARY_DIR}/deb/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN ITEMS deb_runtime deb_dev)
  if(component STREQUAL "deb_runtime")
    set(package ${ZU_DEB_RUNTIME})
  else()
    set(package ${ZU_DEB_DEV})
  endif()
  install(FILES cmake/copyright ${PROJECT_BINARY_DIR}/deb/changelog.gz
    DESTINATION share/doc/${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${ZU_DEB_RUNTIME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
set(CPACK_PACKAGING_INSTALL_PREFIX ${ZU_DEB_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL deb_runtime deb_dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${ZU_DEB_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SOURCE libzuplatform)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEB_RUNTIME_PACKAGE_NAME ${ZU_DEB_RUNTIME})
set(CPACK_DEBIAN_DEB_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEB_RUNTIME_PACKAGE_SHLIBDEPS ON)
# ldconfig runs through the trigger that policy asks for. This CPack also
# writes postinst and postrm scripts that call ldconfig for any library
# under /usr/lib, with no switch to turn them off; they do no harm.
set(CPACK_DEBIAN_DEB_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/cmake/triggers)
set(CPACK_DEBIAN_DEB_RUNTIME_DESCRIPTION
"C++17 platform-abstraction library (shared library)
libZuPlatform gives applications one vocabulary for what differs between
platforms: normalised path values and well-known directories, filesystem
operations, a stepper thread, a thread pool and locks, a leveled log with
a replaceable handler, a replaceable allocator table, a stopwatch, CPU time,
MurmurHash3, CRC-32 and string conversions.

This package contains the shared library.")

set(CPACK_DEBIAN_DEB_DEV_PACKAGE_NAME ${ZU_DEB_DEV})
set(CPACK_DEBIAN_DEB_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEB_DEV_PACKAGE_DEPENDS "${ZU_DEB_RUNTIME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEB_DEV_DESCRIPTION
"C++17 platform-abstraction library (development files)
libZuPlatform gives applications one vocabulary for what differs between
platforms: paths, filesystem, threads, log, allocators, time and hashes.

This package contains the headers, the link for the linker, the CMake
package (find_package(ZuPlatform)) and the pkg-config file.")

include(CPack)
