# Compiles each target's sources a batch at a time, as one unit per batch:
# the headers (nlohmann/json, GoogleTest) and the templates they instantiate
# are then compiled once per batch instead of once per file, which halves
# the time of a build from nothing. The full test run builds this way
# (-DVARNHOLT_UNITY_BUILD=ON); the quick loop compiles file by file.
#
# CMake's own unity build would do the same, but its units include each
# source by its absolute path, which ends up in the preprocessed text that
# ccache hashes: a unit compiled in one checkout never served another one
# (CI after a developer's build on the same machine). These units include
# their sources by paths relative to the unit, which are the same in every
# checkout whose build directory sits at the same place in it.
#
# A source that is generated in the build tree compiles on its own: what it
# holds differs from one build directory to the next, and it would make its
# whole batch a miss.

option(VARNHOLT_UNITY_BUILD "Compile each target's sources in batches, one unit per batch" OFF)
set(VARNHOLT_UNITY_BATCH_SIZE 16 CACHE STRING "Sources per unit of the unity build")

# Writes the unit `unit` of the sources `batch` (absolute paths) when its
# text changed, so that configuring again rebuilds nothing.
function(varnholt_write_unit unit batch)
  get_filename_component(unit_directory ${unit} DIRECTORY)
  set(text "/* Written by cmake/UnityBuild.cmake: these sources compile as one unit. */\n")
  foreach(source IN LISTS batch)
    file(RELATIVE_PATH relative ${unit_directory} ${source})
    string(APPEND text "#include \"${relative}\"\n")
  endforeach()
  file(CONFIGURE OUTPUT ${unit} CONTENT "${text}" @ONLY)
endfunction()

# Puts the C++ sources of `target` into units of VARNHOLT_UNITY_BATCH_SIZE,
# in the order the target lists them.
function(varnholt_unity_target target)
  get_target_property(type ${target} TYPE)
  if(NOT type MATCHES "^(EXECUTABLE|STATIC_LIBRARY|SHARED_LIBRARY|MODULE_LIBRARY|OBJECT_LIBRARY)$")
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  get_target_property(source_directory ${target} SOURCE_DIR)
  get_target_property(binary_directory ${target} BINARY_DIR)
  set(kept "")
  set(batched "")
  foreach(source IN LISTS sources)
    set(path ${source})
    if(NOT source MATCHES "\\$<" AND NOT IS_ABSOLUTE ${path})
      set(path ${source_directory}/${source})
    endif()
    cmake_path(IS_PREFIX CMAKE_BINARY_DIR ${path} NORMALIZE generated)
    if(source MATCHES "\\$<" OR NOT path MATCHES "\\.(cpp|cc|cxx)$" OR generated)
      list(APPEND kept ${source})
    else()
      list(APPEND batched ${path})
    endif()
  endforeach()
  list(LENGTH batched count)
  if(count LESS 2)
    return()
  endif()
  set(units "")
  set(batch "")
  set(number 0)
  foreach(path IN LISTS batched)
    list(APPEND batch ${path})
    list(LENGTH batch size)
    if(size EQUAL VARNHOLT_UNITY_BATCH_SIZE)
      set(unit ${binary_directory}/unity/${target}_${number}.cpp)
      varnholt_write_unit(${unit} "${batch}")
      list(APPEND units ${unit})
      math(EXPR number "${number} + 1")
      set(batch "")
    endif()
  endforeach()
  if(batch)
    set(unit ${binary_directory}/unity/${target}_${number}.cpp)
    varnholt_write_unit(${unit} "${batch}")
    list(APPEND units ${unit})
  endif()
  set_property(TARGET ${target} PROPERTY SOURCES ${kept} ${units})
endfunction()

# Every target defined in `directory` and below it, when the unity build is
# on. Targets of sources outside the project (GoogleTest compiled from
# Debian's sources) are left as they are.
function(varnholt_unity_build directory)
  if(NOT VARNHOLT_UNITY_BUILD)
    return()
  endif()
  get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(source_directory ${target} SOURCE_DIR)
    cmake_path(IS_PREFIX PROJECT_SOURCE_DIR ${source_directory} NORMALIZE ours)
    if(ours)
      varnholt_unity_target(${target})
    endif()
  endforeach()
  get_property(subdirectories DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
  foreach(subdirectory IN LISTS subdirectories)
    varnholt_unity_build(${subdirectory})
  endforeach()
endfunction()
