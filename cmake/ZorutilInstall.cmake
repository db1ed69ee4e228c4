# Installed: libzorplatform, libzorutil, their headers under include/zorutil, the CMake package and the pkg-config
# file, both named zorutil. Consumers of the shared libraries need nothing else; the static ones bring ICU, libxml2,
# libcrypto, simdjson and SQLite along.

# Every header is public, but for those of tests and those named *_internal.h. Each compiles alone; the target
# all_verify_interface_header_sets proves it.
foreach(pair IN ITEMS "zorplatform platform" "zorutil util")
  separate_arguments(pair)
  list(GET pair 0 library)
  list(GET pair 1 folder)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.h")
  list(FILTER headers EXCLUDE REGEX "_(internal|test|testing)\\.h$")
  target_sources(${library} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${headers})
  set_target_properties(${library} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
endforeach()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/zorutil")
install(TARGETS zorplatform zorutil EXPORT zorutilTargets
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zorutil")
install(EXPORT zorutilTargets NAMESPACE zorutil:: DESTINATION "${package_dir}")

include(CMakePackageConfigHelpers)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/zorutilConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/zorutilConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/zorutilConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/zorutilConfig.cmake" "${PROJECT_BINARY_DIR}/zorutilConfigVersion.cmake"
  DESTINATION "${package_dir}")

# The prefix is told from where the file lies, so that an installed tree can be moved. Where only static libraries
# are installed, what they need belongs to every link, with or without --static.
file(RELATIVE_PATH pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
if(BUILD_SHARED_LIBS)
  set(pc_requires "")
  set(pc_cflags "")
else()
  set(pc_requires "icu-i18n icu-uc libxml-2.0 libcrypto simdjson sqlite3")
  set(pc_cflags "-DZORUTIL_STATIC")
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/zorutil.pc.in" "${PROJECT_BINARY_DIR}/zorutil.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zorutil.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
