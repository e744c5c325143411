# Cross-builds for Windows with mingw-w64, posix threads flavour. Included by the toolchain files
# of the two systems, which name the compilers' prefix and the folder of scripts/windows-deps.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${prefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${prefix}-g++-posix)
set(CMAKE_RC_COMPILER ${prefix}-windres)
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH project)
list(APPEND CMAKE_FIND_ROOT_PATH ${project}/build/cross/windows-${folder} /usr/${prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# What comes out needs no DLL but the system's own, or, on request, those of the compiler as well:
# on 32 bits an exception leaves a module only if both sides share them.
option(RASTELO_SHARED_RUNTIME "Use the DLLs of the compiler's runtime")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES RASTELO_SHARED_RUNTIME)
if(RASTELO_SHARED_RUNTIME)
  set(CMAKE_EXE_LINKER_FLAGS_INIT -shared-libgcc)
  set(CMAKE_SHARED_LINKER_FLAGS_INIT -shared-libgcc)
else()
  set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
  set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
endif()
