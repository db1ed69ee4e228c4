# What is installed, in three components; every file belongs to one of them.
#   runtime       libzorplatform and libzorutil as shared libraries, and the language files
#   development   headers, the CMake package and the pkg-config file, both named zorutil, the guides, printers for gdb, and
#                 what is linked with: the shared libraries' names without version, or the static libraries
#   tools         utilctl with completions and manual page, the definitions that it compiles into others, and the
#                 gateway with its object types
# Consumers of the shared libraries need nothing else; the static ones bring ICU, libxml2, libcrypto, simdjson and
# SQLite along.

# zorutil_install_files(COMPONENT FOLDER file...)
function(zorutil_install_files component folder)
  if(ZORUTIL_INSTALL)
    install(FILES ${ARGN} DESTINATION "${folder}" COMPONENT ${component})
  endif()
endfunction()

# zorutil_install_folder(COMPONENT FOLDER folder): a folder of generated files, into FOLDER.
function(zorutil_install_folder component folder content)
  if(ZORUTIL_INSTALL)
    install(DIRECTORY "${content}" DESTINATION "${folder}" COMPONENT ${component})
  endif()
endfunction()

# zorutil_install_program(TARGET FOLDER): it finds the libraries from where it lies, wherever the tree is moved, and a
# plug-in beside it. Where the system looks for libraries by itself it is told nothing.
function(zorutil_install_program target folder)
  if(NOT ZORUTIL_INSTALL)
    return()
  endif()
  set(path)
  if(NOT folder STREQUAL CMAKE_INSTALL_BINDIR)
    list(APPEND path "$ORIGIN")
  endif()
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH to_libraries "${CMAKE_INSTALL_PREFIX}/${folder}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    list(APPEND path "$ORIGIN/${to_libraries}")
  endif()
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "${path}")
  install(TARGETS ${target} RUNTIME DESTINATION "${folder}" COMPONENT tools
    LIBRARY DESTINATION "${folder}" COMPONENT tools)
endfunction()

# Called once, when all sources of the libraries are named.
function(zorutil_install_libraries)
  if(NOT ZORUTIL_INSTALL)
    return()
  endif()

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

  # The one library finds the other beside it.
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set_target_properties(zorutil PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()

  set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/zorutil")
  install(TARGETS zorplatform zorutil EXPORT zorutilTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zorutil" COMPONENT development)
  install(EXPORT zorutilTargets NAMESPACE zorutil:: DESTINATION "${package_dir}" COMPONENT development)

  include(CMakePackageConfigHelpers)
  set(templates "${PROJECT_SOURCE_DIR}/cmake")
  configure_package_config_file("${templates}/zorutilConfig.cmake.in" "${PROJECT_BINARY_DIR}/zorutilConfig.cmake"
    INSTALL_DESTINATION "${package_dir}" NO_SET_AND_CHECK_MACRO
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/zorutilConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
  zorutil_install_files(development "${package_dir}"
    "${PROJECT_BINARY_DIR}/zorutilConfig.cmake" "${PROJECT_BINARY_DIR}/zorutilConfigVersion.cmake")

  # The prefix is told from where the file lies, so that an installed tree can be moved. Where only static libraries
  # are installed, what they need belongs to every link, with or without --static.
  file(RELATIVE_PATH pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
  if(BUILD_SHARED_LIBS)
    set(pc_requires "")
    set(pc_cflags "")
  else()
    set(pc_requires "icu-i18n icu-uc libxml-2.0 libcrypto simdjson sqlite3")
    set(pc_cflags "-DZORUTIL_STATIC")
  endif()
  configure_file("${templates}/zorutil.pc.in" "${PROJECT_BINARY_DIR}/zorutil.pc" @ONLY)
  zorutil_install_files(development "${CMAKE_INSTALL_LIBDIR}/pkgconfig" "${PROJECT_BINARY_DIR}/zorutil.pc")

  # What users read, laid out as in the tree, headers included, so that links from one to the other work.
  file(GLOB texts CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
    "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/SECURITY.md" "${PROJECT_SOURCE_DIR}/docs/*.md"
    "${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${PROJECT_SOURCE_DIR}/tools/utilctl/README.md")
  foreach(file IN LISTS texts)
    get_filename_component(folder "${CMAKE_INSTALL_DATADIR}/doc/zorutil/${file}" DIRECTORY)
    zorutil_install_files(development "${folder}" "${PROJECT_SOURCE_DIR}/${file}")
  endforeach()
  foreach(folder IN ITEMS platform util)
    file(RELATIVE_PATH headers "${CMAKE_INSTALL_FULL_DATADIR}/doc/zorutil"
      "${CMAKE_INSTALL_FULL_INCLUDEDIR}/zorutil/${folder}")
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/doc-links")
    file(CREATE_LINK "${headers}" "${PROJECT_BINARY_DIR}/doc-links/${folder}" SYMBOLIC)
    zorutil_install_files(development "${CMAKE_INSTALL_DATADIR}/doc/zorutil" "${PROJECT_BINARY_DIR}/doc-links/${folder}")
  endforeach()

  # gdb finds printers under its own data folder by the path of the library that it loads: two small files there name
  # the one that has them.
  set(printers "${PROJECT_SOURCE_DIR}/tools/gdb/zorutil_printers.py")
  if(BUILD_SHARED_LIBS AND EXISTS "${printers}")
    set(printer_folder "${CMAKE_INSTALL_FULL_DATADIR}/zorutil/gdb")
    set(loader_folder "${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}")
    file(RELATIVE_PATH to_printers "${CMAKE_INSTALL_PREFIX}/${loader_folder}" "${printer_folder}")
    zorutil_install_files(development "${CMAKE_INSTALL_DATADIR}/zorutil/gdb" "${printers}")
    foreach(library IN ITEMS zorplatform zorutil)
      set(loader "${PROJECT_BINARY_DIR}/gdb/lib${library}.so.${PROJECT_VERSION}-gdb.py")
      configure_file("${templates}/gdb-loader.py.in" "${loader}" @ONLY)
      zorutil_install_files(development "${loader_folder}" "${loader}")
    endforeach()
  endif()
endfunction()
