# Debian's cross compilers with the libraries of the other machine in build/sysroot/ARCH, where scripts/portability puts
# them. Included by the file of a machine, which names `arch` (Debian's name), `triplet` and `emulator`.
set(CMAKE_SYSTEM_NAME Linux)

cmake_path(SET root NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../../")
set(CMAKE_SYSROOT "${root}build/sysroot/${arch}")
set(CMAKE_CXX_COMPILER "${compiler}-linux-gnu-g++")
set(CMAKE_LIBRARY_ARCHITECTURE "${triplet}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The programs name the loader of the sysroot and look for libraries there, so that they run as they are: by the
# emulator, or where the kernel knows the machine, without one. The old kind of RPATH counts for libraries of libraries.
set(libraries "${CMAKE_SYSROOT}/lib/${triplet}:${CMAKE_SYSROOT}/usr/lib/${triplet}")
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--dynamic-linker=${CMAKE_SYSROOT}/lib/${loader} -Wl,--disable-new-dtags,-rpath,${libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,--disable-new-dtags,-rpath,${libraries}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${CMAKE_SHARED_LINKER_FLAGS_INIT}")
