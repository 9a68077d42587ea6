# ccache, whenever it is installed, so that building the tests again (the
# quick loop, a second configuration, CI after a developer's build on the
# same machine) compiles only what changed. -DCMAKE_CXX_COMPILER_LAUNCHER=
# (empty, or another launcher), as a cache variable or in the environment,
# turns this off.
#
# Objects are shared between checkouts at different paths: ccache hashes
# paths below the source tree relative to the build directory
# (CCACHE_BASEDIR), and with debug information it also hashes the build
# directory, which the prefix map below makes relative as well. The debug
# information then names the sources relative to the checkout
# (build-tests/../VarnholtQueryLib/...): a debugger started in the checkout
# finds them, wherever the object was first compiled. Without that map an
# object compiled in one checkout would point the debugger at the other's
# sources.
if(DEFINED CMAKE_CXX_COMPILER_LAUNCHER OR DEFINED ENV{CMAKE_CXX_COMPILER_LAUNCHER})
  return()
endif()
find_program(VARNHOLT_CCACHE ccache)
if(NOT VARNHOLT_CCACHE)
  message(STATUS "Compiler cache: none, ccache is not installed")
  return()
endif()
set(CMAKE_CXX_COMPILER_LAUNCHER
  ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} ${VARNHOLT_CCACHE})
add_compile_options(-fdebug-prefix-map=${PROJECT_SOURCE_DIR}=.)
message(STATUS "Compiler cache: ${VARNHOLT_CCACHE}")
