# Headers are included as "quillmoor/<floor>/<header>": in this project, in projects that build it as a
# subproject, and when installed. The only folder that is exported contains just a link for each floor,
# so that no other header of this project can shadow one of the user's.
set(KX_INCLUDE_ROOT "${PROJECT_BINARY_DIR}/include")
file(MAKE_DIRECTORY "${KX_INCLUDE_ROOT}/quillmoor")
foreach(floor base platform paths log task auth files pane)
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${floor}" "${KX_INCLUDE_ROOT}/quillmoor/${floor}" SYMBOLIC)
endforeach()

# The project's own targets include the headers above the floors from the source folder.
target_include_directories(kx_options INTERFACE
    $<BUILD_INTERFACE:${KX_INCLUDE_ROOT}> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
