# KF_CHECKS chooses what the compiler checks at run time. It applies to everything in the build, the test
# framework included, because checked containers and sanitizers change layouts.
set(KF_CHECKS none CACHE STRING "none, traps (MinGW), address, thread (native) or fuzz (native, Clang)")
set_property(CACHE KF_CHECKS PROPERTY STRINGS none traps address thread fuzz)

# One place for optimisation: CMake's own per-type flags would add another -O.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -gdwarf-4 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g -gdwarf-4")

# Test programs and the test framework: half of the build was their optimisation. The library is optimised as ever.
add_library(kf_test_options INTERFACE)
target_compile_options(kf_test_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>) # lets ccache see precompiled headers
target_compile_options(kf_test_options INTERFACE -O0 -g1)
if(KF_CHECKS STREQUAL "traps")
  # The library has the traps; in the tests they doubled what the compiler has to do.
  target_compile_options(kf_test_options INTERFACE -fno-sanitize=undefined)
endif()

if(KF_CHECKS STREQUAL "traps")
  # MinGW has no sanitizer run-time libraries, so undefined behaviour ends the program instead of being reported.
  add_compile_options(-fsanitize=undefined -fsanitize-undefined-trap-on-error -fstack-protector-all)
  add_compile_definitions(_GLIBCXX_DEBUG)
  add_link_options(-fstack-protector-all)
elseif(KF_CHECKS STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_link_options(-fsanitize=address,undefined)
elseif(KF_CHECKS STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  # Instrumented, GCC 12 sees overruns inside the standard library's strings that are none; the other presets still warn.
  add_compile_options(-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread)
  add_link_options(-fsanitize=thread)
elseif(KF_CHECKS STREQUAL "fuzz")
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "KF_CHECKS=fuzz needs Clang with its fuzzer run-time library: run scripts/setup.sh")
  endif()
  # Everything counts which edges it takes; only a target's own link brings the fuzzer's main function.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_link_options(-fsanitize=address,undefined)
elseif(NOT KF_CHECKS STREQUAL "none")
  message(FATAL_ERROR "KF_CHECKS must be none, traps, address, thread or fuzz, not '${KF_CHECKS}'")
endif()
