# Uses ccache where it is installed, with paths relative to the source tree so that several work trees share hits.
# What uses precompiled headers is kept only with these two checks off.
find_program(KF_CCACHE ccache)
if(KF_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER /usr/bin/env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
                                  CCACHE_SLOPPINESS=pch_defines,time_macros ${KF_CCACHE})
endif()
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)
