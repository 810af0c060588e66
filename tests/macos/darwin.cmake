# Builds for macOS on another system with clang and lld, for the tests. KX_APPLE_TOOLS is a folder with the
# commands under the names that a Mac has for them, KX_APPLE_SDK what stands in for the SDK.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 22)
set(CMAKE_OSX_SYSROOT "${KX_APPLE_SDK}" CACHE PATH "")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KX_APPLE_TOOLS KX_APPLE_SDK)
foreach(language C CXX OBJCXX)
    set(compiler clang++)
    if(language STREQUAL C)
        set(compiler clang)
    endif()
    set(CMAKE_${language}_COMPILER "${KX_APPLE_TOOLS}/${compiler}")
    # The architectures and the version of the system are CMake's own options.
    set(CMAKE_${language}_COMPILER_TARGET x86_64-apple-darwin)
    # The stand-in has nothing of locales.
    string(CONCAT CMAKE_${language}_FLAGS_INIT "-B${KX_APPLE_TOOLS} -fuse-ld=lld -stdlib=libc++ "
        "-D_LIBCPP_HAS_NO_LOCALIZATION -Wno-unused-command-line-argument")
    # Unlike a Mac's, llvm's ar does not join objects of several architectures.
    set(CMAKE_${language}_ARCHIVE_CREATE "${KX_APPLE_TOOLS}/libtool -static -o <TARGET> <OBJECTS>")
    set(CMAKE_${language}_ARCHIVE_FINISH "")
endforeach()
# What is not optimised needs more of the C++ library than the stand-in has.
foreach(language C CXX OBJCXX)
    set(CMAKE_${language}_FLAGS_RELEASE "-O1 -DNDEBUG" CACHE STRING "")
endforeach()
set(CMAKE_BUILD_TYPE Release CACHE STRING "")
set(CMAKE_COMPILE_WARNING_AS_ERROR ON)
# The stubs have what the library and the bundle need; the examples take a few calls more.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-undefined,dynamic_lookup")
# Nothing of this system is for a Mac.
list(APPEND CMAKE_FIND_ROOT_PATH "${KX_APPLE_SDK}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
foreach(tool install_name_tool strip)
    string(TOUPPER ${tool} variable)
    set(CMAKE_${variable} "${KX_APPLE_TOOLS}/${tool}")
endforeach()
# The stand-in has not all that this test calls.
set(CMAKE_HAVE_LIBC_PTHREAD TRUE)
