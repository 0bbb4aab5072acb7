# What every native program that links the portable objects needs, be it a test, a fuzz target or a benchmark: it
# stands in for what the portable files ask of the platform.
add_library(kf_native_surroundings STATIC tests/support/object_surroundings_native.cpp)
target_include_directories(kf_native_surroundings PUBLIC ${CMAKE_SOURCE_DIR})
target_link_libraries(kf_native_surroundings PRIVATE kf_warnings)
