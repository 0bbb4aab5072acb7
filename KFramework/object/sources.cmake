kf_sources(
    PORTABLE
        garbage_collector.cpp
        mutex_pool.cpp
        object.cpp
    WIN
        surroundings_win.cpp
)
