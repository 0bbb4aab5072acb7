# The warnings our own targets are built with; third-party headers are system includes and exempt.
add_library(kf_warnings INTERFACE)
target_compile_options(
  kf_warnings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Werror
            -Wshadow
            -Wconversion
            -Wold-style-cast
            -Wcast-qual
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wextra-semi
            -Wvla
            $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond>
            $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
            # Clang has no gnu_printf, the format that GCC checks our log texts by.
            $<$<CXX_COMPILER_ID:Clang>:-Wno-ignored-attributes>)
