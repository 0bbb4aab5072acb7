kf_sources(
    PORTABLE
        mutexes.cpp
        thread_record.cpp
    WIN
        threads_win.cpp
)
