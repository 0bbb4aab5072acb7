# Copies the shared C++ runtime beside the programs, which is where Windows and Wine look first.
#
# The sections of everything we link or copy begin at page boundaries of the file, so that Wine maps them when a
# program starts. It reads what is aligned otherwise: 50 MB of debug information at each start of each test program
# and of each child of one.
if(MINGW)
  add_link_options(-Wl,--file-alignment,0x1000)
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
      execute_process(COMMAND ${CMAKE_OBJCOPY} --file-alignment 0x1000 ${path} ${copy} COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endforeach()
endif()
