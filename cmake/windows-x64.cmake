set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(prefix x86_64-w64-mingw32)
set(folder x64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)

# GCC keeps stacks on 64-bit Windows aligned to 16 bytes only, and yet moves vectors of 32 bytes as
# if they were aligned to that.
set(CMAKE_CXX_FLAGS_INIT -Wa,-muse-unaligned-vector-move)
