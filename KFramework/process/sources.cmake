kf_sources(
    PORTABLE
        mutexes.cpp
    WIN
        threads_win.cpp
)
