# Cross-building for 64-bit Windows with MinGW-w64 (the POSIX thread model,
# which std::thread and std::mutex need). Programs built this way run under
# Wine, which CTest uses as the emulator when it is there.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(ZEM_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${ZEM_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZEM_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${ZEM_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${ZEM_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages also by plain prefix, so that -DCMAKE_PREFIX_PATH=<unpacked zip> works.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# The C and C++ runtimes go into each binary, so that a program needs no
# MinGW DLLs beside it, on Windows as under Wine.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -static")

# Debian keeps Wine's 64-bit loader out of the PATH.
find_program(ZEM_WINE NAMES wine64 wine PATHS /usr/lib/wine /usr/lib/x86_64-linux-gnu/wine NO_CMAKE_FIND_ROOT_PATH)
if(ZEM_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ZEM_WINE})
endif()
