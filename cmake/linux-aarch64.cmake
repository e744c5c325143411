set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(prefix aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross.cmake)
