set(CMAKE_SYSTEM_PROCESSOR i686)
set(prefix i686-w64-mingw32)
set(folder x86)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
