# With VEXO_UNITY the sources of a target are compiled as one, or those of each folder as one, when it
# has several. It halves the time of a whole build and spoils that of a changed file. Names that are
# local to a source must then differ within a folder; the plain build looks at each source alone.
set(CMAKE_UNITY_BUILD ${VEXO_UNITY})
set(CMAKE_UNITY_BUILD_BATCH_SIZE 0)

# Unites the sources of a target by folder. Sources of the folders APART stay alone.
function(vexo_unite_by_folder target)
  cmake_parse_arguments(U "" "" "APART" ${ARGN})
  set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
  get_target_property(sources ${target} SOURCES)
  foreach(source ${sources})
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(GET folder FILENAME folder)
    if(NOT folder IN_LIST U_APART)
      set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${folder})
    endif()
  endforeach()
endfunction()
