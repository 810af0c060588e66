# Compiler settings that every target of the project shares, as the interface target kx_options.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

include(CheckPIESupported)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(PROJECT_IS_TOP_LEVEL)
    find_program(CCACHE_PROGRAM ccache)
    if(CCACHE_PROGRAM)
        set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
        set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
    endif()
endif()

find_package(Threads REQUIRED)
# A Mac has no pkg-config; what is needed there is the system's, or built with the project.
if(NOT APPLE)
    find_package(PkgConfig REQUIRED)
endif()

add_library(kx_options INTERFACE)
target_link_libraries(kx_options INTERFACE Threads::Threads)
if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()
target_compile_options(kx_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align)
# Each release of macOS declares more calls obsolete.
if(NOT APPLE)
    target_compile_options(kx_options INTERFACE -Werror)
endif()
# g++ 12 warns wrongly of its own std::string.
target_compile_options(kx_options INTERFACE
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow>)

# Some compilers have this by default. With it the libraries that are linked are always the same. The
# linker of a Mac has neither this nor the options of hardening; what they ask for it does anyway.
if(NOT APPLE)
    target_link_options(kx_options INTERFACE -Wl,--as-needed)
endif()

# Hardening, which scripts/check-hardening verifies in the built files. Sanitizers have their own checks.
check_pie_supported(LANGUAGES C CXX)
if(NOT APPLE)
    target_link_options(kx_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()
if(NOT KX_SANITIZE)
    target_compile_options(kx_options INTERFACE -fstack-protector-strong)
    target_compile_definitions(kx_options INTERFACE _GLIBCXX_ASSERTIONS)
    # The C library's checks need an optimised build. Undefined first, as some compilers predefine
    # another level.
    target_compile_options(kx_options INTERFACE
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
if(KX_SANITIZE)
    # The sanitizers need frame pointers for their reports, and their runtime in every link.
    target_compile_options(kx_options INTERFACE -fsanitize=${KX_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(kx_options INTERFACE -fsanitize=${KX_SANITIZE})
    # In instrumented code, g++ 12 warns wrongly of its own std::regex.
    target_compile_options(kx_options INTERFACE
        $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-maybe-uninitialized>)
    if(KX_SANITIZE MATCHES "undefined")
        # The check of virtual tables opens a pipe and fails in tests that use up all descriptors.
        target_compile_options(kx_options INTERFACE -fno-sanitize-recover=undefined
            -fno-sanitize=vptr)
    endif()
endif()
