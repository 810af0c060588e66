add_library(InstallerPlugins SHARED framework/InstallerPlugins/InstallerPlugins.mm)
target_include_directories(InstallerPlugins PUBLIC framework)
target_link_libraries(InstallerPlugins PUBLIC kx_objc PRIVATE kx_options)
# CMake gives a shared library its name, and a program the path to it, for C++ alone.
set_target_properties(InstallerPlugins PROPERTIES LINKER_LANGUAGE CXX)

add_library(version_check_macos STATIC
    "${PROJECT_SOURCE_DIR}/pane/RK_MessageViewPane_macos.mm"
    "${PROJECT_SOURCE_DIR}/pane/exception_barrier_macos.cpp")
target_link_libraries(version_check_macos
    PUBLIC version_check_pane InstallerPlugins PRIVATE kx_options)

kx_test(test_pane_macos RK_MessageViewPane_macos_test.mm exception_barrier_macos_test.mm
    pane_walks_test.mm)
target_link_libraries(test_pane_macos PRIVATE version_check_macos)
target_compile_definitions(test_pane_macos PRIVATE WALKS="${CMAKE_CURRENT_SOURCE_DIR}/walks.txt")
# The precompiled header is one of C++.
set_target_properties(test_pane_macos PROPERTIES DISABLE_PRECOMPILE_HEADERS ON LINKER_LANGUAGE CXX)

add_test(NAME pane/nothing_at_load COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/nothing_at_load_test.sh"
    $<TARGET_FILE:version_check_macos> $<TARGET_FILE:version_check_pane> $<TARGET_FILE:kx>)
set_tests_properties(pane/nothing_at_load PROPERTIES LABELS user)

# The bundle's code for GNUstep, and the bundle on a screen.
if(KX_BUILD_HOST)
    add_library(versioncheck_gnustep MODULE $<TARGET_OBJECTS:version_check_macos>)
    set_target_properties(versioncheck_gnustep PROPERTIES PREFIX "" LINKER_LANGUAGE CXX)
    target_link_libraries(versioncheck_gnustep
        PRIVATE version_check_pane InstallerPlugins kx_options)
    target_link_options(versioncheck_gnustep PRIVATE -Wl,-z,nodelete -Wl,--exclude-libs,ALL)

    set(pictures "${CMAKE_CURRENT_BINARY_DIR}/pictures")
    file(MAKE_DIRECTORY "${pictures}")
    kx_test(test_version_check_screen version_check_screen_test.mm support/screen.mm
        ../host/support/version_check.cpp)
    target_link_libraries(test_version_check_screen PRIVATE InstallerPlugins)
    target_compile_definitions(test_version_check_screen PRIVATE
        MAC_PLUGIN="$<TARGET_FILE:versioncheck_gnustep>"
        PICTURES="${pictures}"
        TEXTS="${PROJECT_SOURCE_DIR}/resources/texts.json"
        VERSION_CHECK_BUNDLE="${PROJECT_BINARY_DIR}/VersionCheck.bundle"
        XIBS="${PROJECT_BINARY_DIR}/resources")
    set_target_properties(test_version_check_screen PROPERTIES
        DISABLE_PRECOMPILE_HEADERS ON LINKER_LANGUAGE CXX)
    add_dependencies(test_version_check_screen versioncheck_gnustep versioncheck_bundle)
endif()
