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

kx_test(test_pane_macos RK_MessageViewPane_macos_test.mm exception_barrier_macos_test.mm)
target_link_libraries(test_pane_macos PRIVATE version_check_macos)
# The precompiled header is one of C++.
set_target_properties(test_pane_macos PROPERTIES DISABLE_PRECOMPILE_HEADERS ON LINKER_LANGUAGE CXX)

add_test(NAME pane/nothing_at_load COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/nothing_at_load_test.sh"
    $<TARGET_FILE:version_check_macos> $<TARGET_FILE:version_check_pane> $<TARGET_FILE:kx>)
set_tests_properties(pane/nothing_at_load PROPERTIES LABELS user)
