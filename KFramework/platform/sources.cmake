kf_sources(
    PORTABLE
    WIN
        guarded_close_win.cpp
)
