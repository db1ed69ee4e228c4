# A little-endian machine of 32 bits, which kernels of x86-64 run as it is. Floating point is that of SSE2, so that
# results are rounded as everywhere else.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(arch i386)
set(triplet i386-linux-gnu)
set(compiler i686)
set(loader ld-linux.so.2)
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
include("${CMAKE_CURRENT_LIST_DIR}/foreign.cmake")
