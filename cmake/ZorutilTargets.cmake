# What every target of the build has in common.

# The same double arithmetic in every kernel and on both compilers: no fused multiply-add. The two
# other options change no value; they let loops over sqrt and range checks be vectorised.
add_compile_options(-ffp-contract=off -fno-math-errno -fno-trapping-math)
# Files above 2 GiB, and times after 2038.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()
if(NOT PROJECT_IS_TOP_LEVEL)
  # The warnings that somebody else asks for are for his code.
  add_compile_options(-w)
else()
  add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Two warnings that cry wolf in GCC 12 at -O3: overlap inside std::string's own copying, and pointers whose use the
    # optimiser itself moved behind a realloc (level 1 still finds uses that are certain).
    add_compile_options(-Wno-restrict -Wuse-after-free=1)
  else()
    # The same meaning of -Wconversion as GCC's; and "&" of two comparisons is how loops stay free of branches.
    add_compile_options(-Wno-sign-conversion -Wno-bitwise-instead-of-logical)
  endif()
  if(ZORUTIL_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
  endif()
endif()
# What is released names no folder of the machine that built it. Debuggers want them, so builds with debug information
# keep theirs.
add_compile_options("$<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=;-ffile-prefix-map=${PROJECT_BINARY_DIR}/=>")
if(ZORUTIL_SANITIZE)
  add_compile_options(-fsanitize=${ZORUTIL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZORUTIL_SANITIZE})
endif()

if(ZORUTIL_BUILD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Options of an installed library: its include path, its export macro, its version.
function(zorutil_library target macro)
  add_library(zorutil::${target} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(NOT PROJECT_IS_TOP_LEVEL)
    set_target_properties(${target} PROPERTIES SYSTEM ON)
  endif()
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zorutil>)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_definitions(${target} PRIVATE ${macro}_BUILDING)
  if(ZORUTIL_BUILD_TESTS OR ZORUTIL_BUILD_FUZZ OR ZORUTIL_BUILD_BENCH)
    target_compile_definitions(${target} PRIVATE ZORUTIL_TESTING)
  endif()
  if(BUILD_SHARED_LIBS)
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
    if(NOT ZORUTIL_SANITIZE)
      set(hidden "${PROJECT_SOURCE_DIR}/cmake/hidden.map")
      target_link_options(${target} PRIVATE -Wl,--no-undefined "-Wl,--version-script=${hidden}")
      set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${hidden}")
    endif()
  else()
    target_compile_definitions(${target} PUBLIC ZORUTIL_STATIC)
  endif()
endfunction()

# zorutil_folder_tests(NAME [SINGLE_THREADED] file...): one test program for the tests that sit in a folder. Those of one
# thread say nothing under the thread sanitizer, and are left out there.
function(zorutil_folder_tests name)
  if(NOT ZORUTIL_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 tests "SINGLE_THREADED" "" "")
  add_executable(${name} ${tests_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE zorutil GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE ZORUTIL_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  if(tests_SINGLE_THREADED AND ZORUTIL_SANITIZE STREQUAL "thread")
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  add_test(NAME ${name} COMMAND ${name})
  # A static library lies where its program lies, and no language files are there.
  if(NOT BUILD_SHARED_LIBS)
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "ZORUTIL_LANG_DIR=${PROJECT_SOURCE_DIR}/util/i18n/lang")
  endif()
endfunction()

# zorutil_program(VARIABLE TARGET): what runs a built program from a script, as one word. That is the program, or in a
# build for another machine a script that gives it to the emulator.
function(zorutil_program variable target)
  set(program "$<TARGET_FILE:${target}>")
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(script "${PROJECT_BINARY_DIR}/emulated/${target}")
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    file(GENERATE OUTPUT "${script}" CONTENT "#!/bin/sh\nexec ${emulator} '${program}' \"$@\"\n"
      FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    set(program "${script}")
  endif()
  set(${variable} "${program}" PARENT_SCOPE)
endfunction()
