# Cross-building the headless tabvet.exe for 64-bit Windows with Debian's mingw-w64 (posix threads, which
# std::thread needs). Used by scripts/windows.sh.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(TABVET_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${TABVET_MINGW_PREFIX}-gcc-posix)  # googletest enables C too
set(CMAKE_CXX_COMPILER ${TABVET_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${TABVET_MINGW_PREFIX}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${TABVET_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Everything of the compiler's runtime goes into the executable: beside it lies no DLL but the system's.
# The link line ends in static mode, or the compiler's own libraries after it would be taken as DLLs.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_LINK_SEARCH_END_STATIC ON)
