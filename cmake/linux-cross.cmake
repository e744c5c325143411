# Cross-builds for another Linux. Included by the toolchain files of the systems, which name the
# processor and the compilers' prefix. What comes out needs no library of that system at run time.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${prefix}-gcc)
set(CMAKE_CXX_COMPILER ${prefix}-g++)
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH project)
set(CMAKE_FIND_ROOT_PATH ${project}/build/cross/linux-${CMAKE_SYSTEM_PROCESSOR} /usr/${prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
