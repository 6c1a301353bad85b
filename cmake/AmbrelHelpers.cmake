# What downloads need beside the program. It is linked, at every build, so that a helper that was
# installed or updated since is found; without one the program is built, and installed, all the same.
set(AMBREL_DOWNLOAD_HELPER "" CACHE FILEPATH
    "Fetches from a web address; empty for the first yt-dlp of PATH at the time of the build")
set(AMBREL_FFMPEG "" CACHE FILEPATH
    "Converts what was fetched, with an ffprobe beside it; empty for the first ffmpeg of PATH")

add_custom_target(download_helpers ALL
    COMMAND ${CMAKE_COMMAND} -D FOLDER=${CMAKE_BINARY_DIR}/bin
        -D "DOWNLOAD_HELPER=${AMBREL_DOWNLOAD_HELPER}" -D "FFMPEG=${AMBREL_FFMPEG}"
        -P ${CMAKE_CURRENT_LIST_DIR}/LinkHelpers.cmake
    COMMENT "Linking what downloads need" VERBATIM)
