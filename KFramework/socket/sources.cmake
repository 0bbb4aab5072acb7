kf_sources(
    PORTABLE
        frame.cpp
        payload_zlib.cpp
    WIN
        frames_win.cpp
        primitives_win.cpp
)
