# The units of a build in units (cmake/UnityBuild.cmake), as ccache needs
# them to serve another checkout: each includes its sources by a path
# relative to the unit, never an absolute one, every path names a file of
# the source tree, and no source is in two units of one target. A build
# tree without a single unit fails too: its units were not ours.
#
#   cmake -DBUILD_DIR=<build tree> -DSOURCE_DIR=<source tree> -P check-unity-units.cmake
cmake_minimum_required(VERSION 3.25)
file(GLOB_RECURSE units ${BUILD_DIR}/*/unity/*.cpp)
if(NOT units)
  message(FATAL_ERROR "No units of cmake/UnityBuild.cmake below ${BUILD_DIR}")
endif()

set(offences "")
set(included "")
foreach(unit IN LISTS units)
  get_filename_component(unit_directory ${unit} DIRECTORY)
  file(STRINGS ${unit} includes REGEX "^#include ")
  if(NOT includes)
    list(APPEND offences "${unit}: includes nothing")
  endif()
  foreach(line IN LISTS includes)
    if(NOT line MATCHES "^#include \"([^\"]+)\"$")
      list(APPEND offences "${unit}: not a quoted include: ${line}")
      continue()
    endif()
    set(path ${CMAKE_MATCH_1})
    if(IS_ABSOLUTE ${path})
      list(APPEND offences "${unit}: an absolute path: ${path}")
      continue()
    endif()
    get_filename_component(source ${unit_directory}/${path} ABSOLUTE)
    cmake_path(IS_PREFIX SOURCE_DIR ${source} NORMALIZE in_tree)
    if(NOT EXISTS ${source} OR NOT in_tree)
      list(APPEND offences "${unit}: names no source of the tree: ${path}")
      continue()
    endif()
    # A unit's name leads with its target's: a source twice in one target's
    # units would be compiled twice into it.
    get_filename_component(unit_name ${unit} NAME_WE)
    string(REGEX REPLACE "_[0-9]+$" "" target ${unit_name})
    set(key "${unit_directory}/${target}|${source}")
    if(key IN_LIST included)
      list(APPEND offences "${unit}: ${path} is in another unit of ${target} too")
    endif()
    list(APPEND included "${key}")
  endforeach()
endforeach()

if(offences)
  list(JOIN offences "\n" report)
  message(FATAL_ERROR "Units that ccache cannot share, or that break the build:\n${report}")
endif()
list(LENGTH units count)
message(STATUS "${count} units, each source by a relative path")
