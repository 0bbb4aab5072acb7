kf_sources(
    PORTABLE
        key_text.cpp
        keys.cpp
)
