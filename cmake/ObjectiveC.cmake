# Objective-C++, which the sources for macOS are in: KX_OBJC says whether they can be compiled here, and
# why not if they cannot. On a Mac by the system's own compiler; elsewhere by clang with GNUstep, for the
# tests. Targets link kx_objc. KX_OBJC_OPTIONS are its compiler options, for tests that run the compiler.
include_guard(GLOBAL)
if(APPLE)
    set(CMAKE_OBJCXX_COMPILER_LAUNCHER "${CMAKE_CXX_COMPILER_LAUNCHER}")
    enable_language(OBJCXX)
    set(KX_OBJC_OPTIONS "")
    set(KX_OBJC ON)
    add_library(kx_objc INTERFACE)
    return()
endif()

find_program(KX_CLANGXX NAMES clang++)
find_program(KX_GNUSTEP_CONFIG NAMES gnustep-config)
set(KX_GNUSTEP_FLAGS "")
set(KX_GNUSTEP_LIBRARIES "")
if(KX_GNUSTEP_CONFIG)
    # It calls make, without which it prints nothing and succeeds.
    execute_process(COMMAND "${KX_GNUSTEP_CONFIG}" --objc-flags OUTPUT_VARIABLE KX_GNUSTEP_FLAGS
        OUTPUT_STRIP_TRAILING_WHITESPACE)
    execute_process(COMMAND "${KX_GNUSTEP_CONFIG}" --gui-libs OUTPUT_VARIABLE KX_GNUSTEP_LIBRARIES
        OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
# The runtime's headers come with the compiler that GNUstep was built with.
file(GLOB KX_OBJC_RUNTIME LIST_DIRECTORIES true "/usr/lib/gcc/*/*/include/objc")
set(missing "")
foreach(what KX_CLANGXX KX_GNUSTEP_CONFIG KX_GNUSTEP_FLAGS KX_GNUSTEP_LIBRARIES KX_OBJC_RUNTIME)
    if("${${what}}" MATCHES "^$|-NOTFOUND$")
        string(APPEND missing " ${what}")
    endif()
endforeach()
if(missing)
    message(STATUS "The sources for macOS are not compiled: not found:${missing}")
    set(KX_OBJC OFF)
    return()
endif()

set(CMAKE_OBJCXX_COMPILER "${KX_CLANGXX}")
set(CMAKE_OBJCXX_COMPILER_LAUNCHER "${CMAKE_CXX_COMPILER_LAUNCHER}")
# Enabling clang replaces the pragma that begins all precompiled headers; g++ does not know clang's.
set(prologue "${CMAKE_PCH_PROLOGUE}")
enable_language(OBJCXX)
set(CMAKE_PCH_PROLOGUE "${prologue}")
set(KX_OBJC ON)

separate_arguments(flags UNIX_COMMAND "${KX_GNUSTEP_FLAGS}")
separate_arguments(libraries UNIX_COMMAND "${KX_GNUSTEP_LIBRARIES}")
# Only what GNUstep itself needs: the project has its own levels of optimisation and warnings.
list(FILTER flags EXCLUDE REGEX "^-(g|O.|MMD|MP|W.*|I.*)$")
list(FILTER libraries EXCLUDE REGEX "^-(L/root|L/home|shared-libgcc|rdynamic|fexceptions|pthread).*$")
list(GET KX_OBJC_RUNTIME -1 runtime)
get_filename_component(runtime "${runtime}" DIRECTORY)
get_filename_component(libraryFolder "${runtime}" DIRECTORY)

set(KX_OBJC_OPTIONS ${flags} -fobjc-runtime=gcc -isystem /usr/include/GNUstep -isystem "${runtime}")
add_library(kx_objc INTERFACE)
target_compile_options(kx_objc INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:${flags};-fobjc-runtime=gcc>)
target_include_directories(kx_objc SYSTEM INTERFACE
    $<$<COMPILE_LANGUAGE:OBJCXX>:/usr/include/GNUstep> $<$<COMPILE_LANGUAGE:OBJCXX>:${runtime}>)
target_link_libraries(kx_objc INTERFACE -L${libraryFolder} ${libraries})
if(CMAKE_OBJCXX_FLAGS MATCHES "--coverage")
    # g++ links, and knows only its own runtime for counters.
    execute_process(COMMAND "${KX_CLANGXX}" -print-file-name=libclang_rt.profile-${CMAKE_SYSTEM_PROCESSOR}.a
        OUTPUT_VARIABLE counters OUTPUT_STRIP_TRAILING_WHITESPACE)
    target_link_libraries(kx_objc INTERFACE "${counters}")
endif()
