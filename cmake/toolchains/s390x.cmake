# A big-endian machine of 64 bits, by qemu.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(arch s390x)
set(triplet s390x-linux-gnu)
set(compiler s390x)
set(loader ld64.so.1)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x-static)
include("${CMAKE_CURRENT_LIST_DIR}/foreign.cmake")
