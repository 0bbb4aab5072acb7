# Copies the shared C++ runtime beside the programs, which is where Windows and Wine look first.
# Without its debug information: Wine reads all of a library at each start of each test program, and of each child.
if(MINGW)
  set(kf_runtime libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  if(KF_CHECKS STREQUAL "traps")
    list(APPEND kf_runtime libssp-0.dll)
  endif()
  foreach(name IN LISTS kf_runtime)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE path
                    OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${path}")
      message(FATAL_ERROR "The compiler does not know where its ${name} is")
    endif()
    set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
    if(${path} IS_NEWER_THAN ${copy})
      file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
      execute_process(COMMAND ${CMAKE_OBJCOPY} --strip-debug ${path} ${copy} COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endforeach()
endif()

# kf_split_debug(TARGET): moves the debug information into TARGET.dll.debug beside it, where gdb finds it. A loader
# that reads the whole file at each program start, as Wine's does, then reads a tenth.
function(kf_split_debug target)
  if(MINGW)
    add_custom_command(
      TARGET ${target}
      POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
      COMMAND ${CMAKE_OBJCOPY} --strip-debug --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug
              $<TARGET_FILE:${target}>
      VERBATIM)
  endif()
endfunction()
