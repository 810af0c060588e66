# The contents of an installation: the library with its headers and its package for find_package, the
# host, the project's own ditto, and the installer's bundle.
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/quillmoor-kx")

# Warnings and hardening are not exported: users of the library choose their own.
foreach(property INTERFACE_COMPILE_OPTIONS INTERFACE_COMPILE_DEFINITIONS INTERFACE_LINK_OPTIONS)
    get_target_property(options kx_options ${property})
    if(options)
        set_property(TARGET kx_options PROPERTY ${property} "$<BUILD_INTERFACE:${options}>")
    endif()
endforeach()
# A library built with a sanitizer can only be linked with it.
if(KX_SANITIZE)
    target_link_options(kx INTERFACE $<INSTALL_INTERFACE:-fsanitize=${KX_SANITIZE}>)
endif()

install(TARGETS kx kx_options EXPORT quillmoor-kx
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT quillmoor-kx NAMESPACE quillmoor:: DESTINATION ${package_folder}
    FILE quillmoor-kx-targets.cmake)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/quillmoor-kx-config.cmake.in"
    "${PROJECT_BINARY_DIR}/quillmoor-kx-config.cmake" INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/quillmoor-kx-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/quillmoor-kx-config.cmake"
    "${PROJECT_BINARY_DIR}/quillmoor-kx-config-version.cmake" DESTINATION ${package_folder})

# The back-ends below platform/, headers of a single system and the trace are not installed.
foreach(floor base platform log)
    file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${floor}/*.h")
    list(FILTER headers EXCLUDE REGEX "_(linux|macos|posix)\\.h$|/trace\\.h$")
    install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quillmoor/${floor})
endforeach()
foreach(floor paths task auth files)
    file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${floor}/[A-Z]*.h")
    install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quillmoor/${floor})
endforeach()

if(TARGET ditto)
    install(TARGETS ditto RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/quillmoor)
endif()
if(TARGET version-check)
    install(TARGETS version-check RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES "${PROJECT_SOURCE_DIR}/tools/version-check/version-check.1"
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
# Without the uninstaller, which needs the host's toolkit, the pane's button would do nothing.
if(TARGET versioncheck_plugin AND TARGET tallyframe_uninstaller_archive)
    install(DIRECTORY "${PROJECT_BINARY_DIR}/VersionCheck.bundle" USE_SOURCE_PERMISSIONS
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/quillmoor)
    install(FILES "${PROJECT_BINARY_DIR}/InstallerSections.plist"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/quillmoor)
endif()

# The log folder of programs that run as root: created at each start of the system if installed from a
# package, and immediately by an installation that may write there. An existing one is left unchanged.
if(NOT APPLE)
    install(FILES "${PROJECT_SOURCE_DIR}/resources/quillmoor.tmpfiles.conf" RENAME quillmoor.conf
        DESTINATION lib/tmpfiles.d COMPONENT log_folder)
endif()
install(SCRIPT "${CMAKE_CURRENT_LIST_DIR}/MakeLogFolder.cmake" COMPONENT log_folder)
