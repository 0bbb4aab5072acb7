kf_sources(
    PORTABLE
    WIN
        utf16_win.cpp
)
