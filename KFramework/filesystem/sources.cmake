kf_sources(
    PORTABLE
    WIN
)
