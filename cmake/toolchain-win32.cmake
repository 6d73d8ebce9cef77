set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(BRISK_TRIPLET i686-w64-mingw32)
# The -posix compilers: the -win32 ones lack std::mutex and std::thread.
set(CMAKE_C_COMPILER ${BRISK_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${BRISK_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${BRISK_TRIPLET}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${BRISK_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Doubles are doubles: the x87 unit's longer intermediate results would decide ties of the divider
# searches differently from every other build, and a host program may have changed its precision. The
# driver, in C, keeps out of it: kernel code may not touch these registers.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
