# Third-party code, one target each: kf_boost (headers and Boost.Thread), kf_zlib, kf_utfcpp, kf_crypto
# (OpenSSL's libcrypto), kf_gtest.
# The cross build takes what scripts/setup.sh prepared; other builds take what find_package finds.
add_library(kf_boost INTERFACE)
add_library(kf_zlib INTERFACE)
add_library(kf_utfcpp INTERFACE)
add_library(kf_crypto INTERFACE)

find_package(Threads REQUIRED)

# Boost.Chrono as headers: the one library to link is Boost.Thread.
target_compile_definitions(kf_boost INTERFACE BOOST_ALL_NO_LIB BOOST_CHRONO_HEADER_ONLY BOOST_THREAD_USE_LIB)

set(ZLIB_USE_STATIC_LIBS ON) # Wine hides a zlib1.dll by shipping its own
find_package(ZLIB REQUIRED)
target_link_libraries(kf_zlib INTERFACE ZLIB::ZLIB)

if(MINGW AND CMAKE_CROSSCOMPILING)
  # Built dependencies; the environment variable lets several work trees share one folder.
  if(DEFINED ENV{KFRAMEWORK_DEPS})
    set(kf_deps_default $ENV{KFRAMEWORK_DEPS})
  else()
    set(kf_deps_default ${CMAKE_SOURCE_DIR}/build/deps)
  endif()
  set(KF_DEPS ${kf_deps_default} CACHE PATH "Folder of the dependencies that scripts/setup.sh builds")

  # Header-only packages are reached through links, so that /usr/include itself is never searched.
  set(kf_header_links ${CMAKE_BINARY_DIR}/header_links)
  function(kf_link_headers folder)
    foreach(name IN LISTS ARGN)
      if(NOT EXISTS /usr/include/${name})
        message(FATAL_ERROR "/usr/include/${name} is missing: run scripts/setup.sh")
      endif()
      file(MAKE_DIRECTORY ${kf_header_links}/${folder})
      get_filename_component(leaf ${name} NAME)
      file(CREATE_LINK /usr/include/${name} ${kf_header_links}/${folder}/${leaf} SYMBOLIC)
    endforeach()
  endfunction()

  kf_link_headers(boost boost)
  target_include_directories(kf_boost SYSTEM INTERFACE ${kf_header_links}/boost)
  if(KF_CHECKS STREQUAL "traps")
    set(kf_boost_variant debug)
  else()
    set(kf_boost_variant release)
  endif()
  set(kf_boost_thread ${KF_DEPS}/boost-thread-${kf_boost_variant}/lib/libboost_thread.a)
  if(NOT EXISTS ${kf_boost_thread})
    message(FATAL_ERROR "${kf_boost_thread} is missing: run scripts/setup.sh")
  endif()
  target_link_libraries(kf_boost INTERFACE ${kf_boost_thread})

  set(kf_libcrypto ${KF_DEPS}/libcrypto-release)
  if(NOT EXISTS ${kf_libcrypto}/lib/libcrypto.a)
    message(FATAL_ERROR "${kf_libcrypto}/lib/libcrypto.a is missing: run scripts/setup.sh")
  endif()
  target_include_directories(kf_crypto SYSTEM INTERFACE ${kf_libcrypto}/include)
  target_link_libraries(kf_crypto INTERFACE ${kf_libcrypto}/lib/libcrypto.a ws2_32 crypt32 advapi32 user32)

  kf_link_headers(utfcpp utf8cpp/utf8.h utf8cpp/utf8)
  target_include_directories(kf_utfcpp SYSTEM INTERFACE ${kf_header_links}/utfcpp)

  # For the examples: images and command lines.
  kf_link_headers(examples stb CLI)
  add_library(kf_example_headers INTERFACE)
  target_include_directories(kf_example_headers SYSTEM INTERFACE ${kf_header_links}/examples)

  set(KF_GTEST_SOURCE /usr/src/googletest)
else()
  find_package(Boost 1.81 REQUIRED COMPONENTS thread)
  target_link_libraries(kf_boost INTERFACE Boost::thread Threads::Threads)

  find_package(OpenSSL REQUIRED COMPONENTS Crypto)
  target_link_libraries(kf_crypto INTERFACE OpenSSL::Crypto)

  find_path(KF_UTFCPP_INCLUDE utf8.h PATH_SUFFIXES utf8cpp REQUIRED)
  target_include_directories(kf_utfcpp SYSTEM INTERFACE ${KF_UTFCPP_INCLUDE})

  set(KF_GTEST_SOURCE /usr/src/googletest)
endif()

if(BUILD_TESTING AND NOT KF_CHECKS STREQUAL "fuzz")
  if(EXISTS ${KF_GTEST_SOURCE}/googletest/src/gtest-all.cc)
    # Built here so that it shares our flags: checked containers change layouts.
    add_library(kf_gtest STATIC ${KF_GTEST_SOURCE}/googletest/src/gtest-all.cc
                                ${KF_GTEST_SOURCE}/googlemock/src/gmock-all.cc)
    target_include_directories(kf_gtest SYSTEM PUBLIC ${KF_GTEST_SOURCE}/googletest/include
                                                      ${KF_GTEST_SOURCE}/googlemock/include)
    target_include_directories(kf_gtest PRIVATE ${KF_GTEST_SOURCE}/googletest ${KF_GTEST_SOURCE}/googlemock)
    target_link_libraries(kf_gtest PUBLIC Threads::Threads PRIVATE kf_test_options)
  else()
    find_package(GTest REQUIRED)
    add_library(kf_gtest INTERFACE)
    target_link_libraries(kf_gtest INTERFACE GTest::gmock GTest::gtest)
  endif()
endif()
