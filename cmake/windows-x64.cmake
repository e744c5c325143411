set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(prefix x86_64-w64-mingw32)
set(folder x64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
