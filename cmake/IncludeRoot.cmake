# Headers are included as "quillmoor/<floor>/<header>", in the project, by those that build it within
# theirs, and where it is installed. The one folder that is exported holds nothing but a link for
# each floor.
set(KX_INCLUDE_ROOT "${PROJECT_BINARY_DIR}/include")
file(MAKE_DIRECTORY "${KX_INCLUDE_ROOT}/quillmoor")
foreach(floor base platform paths log task auth files pane)
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${floor}" "${KX_INCLUDE_ROOT}/quillmoor/${floor}" SYMBOLIC)
endforeach()

# The project's own targets include what is above the floors from the source folder.
target_include_directories(kx_options INTERFACE
    $<BUILD_INTERFACE:${KX_INCLUDE_ROOT}> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
