# Cross-builds for 64-bit Windows with Debian's MinGW-w64 compilers (posix threads); tests run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(kf_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${kf_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${kf_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${kf_triplet}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${kf_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The 64-bit loader itself: the `wine` wrapper asks for 32-bit Wine and prints a warning.
if(NOT KF_WINE64)
  execute_process(COMMAND dpkg -L wine64 OUTPUT_VARIABLE kf_wine_files ERROR_QUIET)
  if(kf_wine_files MATCHES "(/[^\n]*/wine64)\n")
    set(KF_WINE64 ${CMAKE_MATCH_1} CACHE FILEPATH "The 64-bit Wine loader that runs the tests")
  endif()
endif()
if(KF_WINE64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KF_WINE64})
endif()
