# Debian packages, made by scripts/package: libzorutil1 (both libraries and the languages), libzorutil-dev and
# zorutil-tools, one for each component.
if(NOT BUILD_SHARED_LIBS OR NOT ZORUTIL_INSTALL)
  return()
endif()

set(runtime_package "libzorutil${PROJECT_VERSION_MAJOR}")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libutil)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "libutil")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

# Who answers for the packages: whoever makes them for others names himself.
set(ZORUTIL_PACKAGE_CONTACT "libutil developers <libutil@localhost>" CACHE STRING "Maintainer of the Debian packages")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZORUTIL_PACKAGE_CONTACT}")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE libutil)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package says its own
set(summary "utilities of an industrial-connectivity server")
set(text "Values and their conversions, the configuration tree and its projects,\n\
documents of settings, messages in the operator's language, properties, JSON,\n\
options and a machine-wide registry, for servers between devices and clients.\n.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${summary} - shared libraries
${text}\nThis package holds libzorutil, libzorplatform and their language files.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# What is linked with a library of this version runs with it and with later ones of the same major number. The trigger
# has the system look for libraries anew.
set(shlibs "${PROJECT_BINARY_DIR}/shlibs")
file(WRITE "${shlibs}" "")
foreach(library IN ITEMS libzorplatform libzorutil)
  file(APPEND "${shlibs}"
    "${library} ${PROJECT_VERSION_MAJOR} ${runtime_package} (>= ${PROJECT_VERSION})\n")
endforeach()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${shlibs};${PROJECT_SOURCE_DIR}/cmake/package/triggers")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzorutil-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${summary} - development files
${text}\nThis package holds the headers, the CMake package and the pkg-config file, both\nnamed zorutil.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zorutil-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "${summary} - command-line tools
${text}\nThis package holds utilctl, which makes and checks what such programs read, and\nthe example gateway, which runs a project.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}" "${PROJECT_BINARY_DIR}/examples/gateway/types")

# What only packages have is put beside the installed files before they are packed.
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/package/Stage.cmake")
set(CPACK_ZORUTIL_SOURCE "${PROJECT_SOURCE_DIR}")
set(CPACK_ZORUTIL_PACKAGES "${runtime_package}:runtime" libzorutil-dev:development zorutil-tools:tools)
include(CPack)
