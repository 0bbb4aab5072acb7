# The functions the family lists are written with.

# kf_sources(PORTABLE a.cpp WIN b_win.cpp): adds a family's sources; paths are relative to the calling file.
function(kf_sources)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "PORTABLE;WIN")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kf_sources: say PORTABLE or WIN before ${arg_UNPARSED_ARGUMENTS}")
  endif()
  list(TRANSFORM arg_PORTABLE PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
  list(TRANSFORM arg_WIN PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
  target_sources(kframework_portable PRIVATE ${arg_PORTABLE})
  if(WIN32)
    target_sources(KFramework PRIVATE ${arg_WIN})
  endif()
endfunction()

# kf_test(FAMILY BOTH x_test.cpp NATIVE y_test.cpp WIN z_win_test.cpp): one test program, FAMILY_test, registered
# as one CTest test. BOTH runs natively on the portable objects and on Windows through the import library;
# NATIVE (internals, which are not exported) and WIN run on one side only. ON_DISPLAY: the tests under Wine need a
# (virtual) display.
function(kf_test family)
  cmake_parse_arguments(PARSE_ARGV 1 arg "ON_DISPLAY" "" "BOTH;NATIVE;WIN")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kf_test: say BOTH, NATIVE or WIN before ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(WIN32)
    set(sources ${arg_BOTH} ${arg_WIN})
    set(name ${family})
  else()
    set(sources ${arg_BOTH} ${arg_NATIVE})
    set(name ${family}_native)
  endif()
  if(NOT sources)
    return()
  endif()

  add_executable(${family}_test ${sources})
  target_link_libraries(${family}_test PRIVATE kf_test_support kf_test_options kf_warnings)
  if(KF_PCH)
    target_precompile_headers(${family}_test REUSE_FROM kf_test_support)
    set_target_properties(${family}_test PROPERTIES POSITION_INDEPENDENT_CODE OFF) # as they were precompiled
  endif()
  if(WIN32)
    target_link_libraries(${family}_test PRIVATE KFramework)
    add_dependencies(${family}_test kf_children)
  else()
    target_link_libraries(${family}_test PRIVATE kframework_portable)
  endif()
  set(surroundings)
  if(WIN32 AND arg_ON_DISPLAY)
    set(surroundings ${CMAKE_SOURCE_DIR}/tools/on_display.sh)
  endif()
  set(log ${CMAKE_BINARY_DIR}/test_logs/${name}.txt)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/test_logs)
  add_test(NAME ${name} COMMAND ${CMAKE_SOURCE_DIR}/tools/run_test.sh ${log} ${surroundings}
                                ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${family}_test>)
  set_tests_properties(
    ${name}
    PROPERTIES TIMEOUT 300
               ENVIRONMENT
               "ASAN_OPTIONS=detect_stack_use_after_return=1;UBSAN_OPTIONS=print_stacktrace=1;TSAN_OPTIONS=halt_on_error=1")
endfunction()

# kf_child(NAME sources... [LIBRARIES ...]): a small program that tests start; lands beside the test programs.
function(kf_child name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE kf_test_options kf_warnings ${arg_LIBRARIES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_options(${name} PRIVATE -municode)
  add_dependencies(kf_children ${name})
endfunction()

# kf_python_test(NAME script.py arguments...): a check that is a Python 3 script.
function(kf_python_test name)
  find_program(KF_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
  find_program(KF_PYTHON NAMES python3 python REQUIRED)
  add_test(NAME ${name} COMMAND ${KF_PYTHON} ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()
