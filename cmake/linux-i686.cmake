set(CMAKE_SYSTEM_PROCESSOR i686)
set(prefix i686-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross.cmake)
