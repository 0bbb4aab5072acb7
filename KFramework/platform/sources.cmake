kf_sources(
    PORTABLE
    WIN
        guarded_close_win.cpp
        wide_text_win.cpp
)
