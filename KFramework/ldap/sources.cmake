kf_sources(
    PORTABLE
        error_text.cpp
    WIN
        search_win.cpp
        session_win.cpp
)
