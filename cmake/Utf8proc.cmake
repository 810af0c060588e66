# utf8proc, for Unicode's tables. From the system's packages; a Mac has none, and those of others are for one
# architecture. There the sources of one release are fetched, the one that Debian 12 has, and become a
# part of the library, so that its users need nothing. FETCHCONTENT_SOURCE_DIR_UTF8PROC names a folder that
# has them already.
if(NOT APPLE)
    pkg_check_modules(UTF8PROC REQUIRED IMPORTED_TARGET libutf8proc)
    target_link_libraries(kx PRIVATE PkgConfig::UTF8PROC)
    return()
endif()

include(FetchContent)
FetchContent_Declare(utf8proc
    URL https://github.com/JuliaStrings/utf8proc/archive/refs/tags/v2.8.0.tar.gz
    URL_HASH SHA256=a0a60a79fe6f6d54e7d411facbfcc867a6e198608f2cd992490e46f04b1bcecc
    DOWNLOAD_EXTRACT_TIMESTAMP OFF
    # Only fetched: its own build would be for the older CMake that it names.
    SOURCE_SUBDIR none)
FetchContent_MakeAvailable(utf8proc)
add_library(kx_utf8proc OBJECT "${utf8proc_SOURCE_DIR}/utf8proc.c")
set_target_properties(kx_utf8proc PROPERTIES C_VISIBILITY_PRESET hidden)
target_compile_definitions(kx_utf8proc PUBLIC UTF8PROC_STATIC)
target_include_directories(kx_utf8proc SYSTEM PUBLIC "${utf8proc_SOURCE_DIR}")
target_sources(kx PRIVATE $<TARGET_OBJECTS:kx_utf8proc>)
target_include_directories(kx SYSTEM PRIVATE "${utf8proc_SOURCE_DIR}")
target_compile_definitions(kx PRIVATE UTF8PROC_STATIC)
