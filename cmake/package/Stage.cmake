# Run by CPack on the files of each package before it packs them: adds copyright and changelog, compresses what Debian
# wants compressed, and gives every file the time of the release, so that the same commit makes the same package.
find_program(gzip gzip REQUIRED)
set(epoch "$ENV{SOURCE_DATE_EPOCH}")
if(epoch STREQUAL "")
  message(FATAL_ERROR "SOURCE_DATE_EPOCH is not set; scripts/package sets it")
endif()

set(ENV{LC_ALL} C)
set(ENV{TZ} UTC)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(pair IN LISTS CPACK_ZORUTIL_PACKAGES)
  string(REPLACE ":" ";" pair "${pair}")
  list(GET pair 0 package)
  list(GET pair 1 component)
  set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}")
  if(NOT IS_DIRECTORY "${root}")
    message(FATAL_ERROR "${root}: no such component")
  endif()

  set(doc "${root}/usr/share/doc/${package}")
  file(COPY "${CPACK_ZORUTIL_SOURCE}/cmake/package/copyright" DESTINATION "${doc}")
  file(WRITE "${doc}/changelog.Debian"
    "libutil (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
    "  * Release ${CPACK_PACKAGE_VERSION}; changelog.gz tells what is new.\n\n"
    " -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}\n")
  file(COPY_FILE "${CPACK_ZORUTIL_SOURCE}/CHANGELOG.md" "${doc}/changelog")
  file(GLOB pages "${root}/usr/share/man/man*/*.[0-9]")
  execute_process(COMMAND "${gzip}" -9n "${doc}/changelog.Debian" "${doc}/changelog" ${pages} COMMAND_ERROR_IS_FATAL ANY)

  # Folders last, and all of them by a program that leaves links alone.
  execute_process(COMMAND chmod -R go=rX,u+rw "${root}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND find "${root}" -exec touch -h -d "@${epoch}" {} +  COMMAND_ERROR_IS_FATAL ANY)
endforeach()
