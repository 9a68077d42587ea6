# SQLite, ICU and JSON for Modern C++, found through CMake's own modules. They
# search each package's <Package>_ROOT (ICU_ROOT, SQLite3_ROOT, as CMake
# variables or in the environment) and CMAKE_PREFIX_PATH before the system's
# directories.
#
# Homebrew installs ICU and SQLite keg-only, outside every default search
# path, because macOS has libraries of the same names (its ICU without
# headers). On macOS, unless a root or prefix path says where to look, ask
# Homebrew where they are.
if(APPLE AND NOT CMAKE_PREFIX_PATH AND NOT DEFINED ENV{CMAKE_PREFIX_PATH})
  find_program(VARNHOLT_BREW brew)
  foreach(root_and_formula ICU_ROOT:icu4c SQLite3_ROOT:sqlite)
    string(REPLACE ":" ";" root_and_formula ${root_and_formula})
    list(GET root_and_formula 0 root)
    list(GET root_and_formula 1 formula)
    if(VARNHOLT_BREW AND NOT ${root} AND NOT DEFINED ENV{${root}})
      execute_process(COMMAND ${VARNHOLT_BREW} --prefix ${formula}
        OUTPUT_VARIABLE prefix OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
      if(NOT failed AND IS_DIRECTORY "${prefix}")
        set(${root} "${prefix}")
        message(STATUS "${root} ${prefix}, from Homebrew")
      endif()
    endif()
  endforeach()
endif()

find_package(SQLite3 REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(nlohmann_json 3 REQUIRED)

message(STATUS "SQLite ${SQLite3_VERSION}: headers in ${SQLite3_INCLUDE_DIRS}, library ${SQLite3_LIBRARIES}")
message(STATUS "ICU ${ICU_VERSION}: headers in ${ICU_INCLUDE_DIRS}, libraries ${ICU_UC_LIBRARIES} and ${ICU_I18N_LIBRARIES}")

# ICU's headers and libraries are found one by one, so a search path can pair
# the headers of one installation with the libraries of another (say a
# Homebrew ICU_ROOT holding only headers). ICU renames its functions after its
# version (u_getVersion_72), so such a pair either fails to link or, without
# the renaming, calls functions of another version with this one's structures.
# A program built from these headers and libraries must link and must report
# the headers' version.
function(varnholt_check_icu_pairing)
  set(source [=[
#include <cstdio>
#include <unicode/uversion.h>
int main() {
    UVersionInfo version;
    u_getVersion(version);
    char text[U_MAX_VERSION_STRING_LENGTH];
    u_versionToString(version, text);
    std::printf("%s", text);
    return 0;
}
]=])
  set(problem "")
  set(details "")
  if(CMAKE_CROSSCOMPILING)
    try_compile(linked SOURCE_FROM_CONTENT ICUVersion.cpp "${source}" NO_CACHE
      LINK_LIBRARIES ICU::uc CXX_STANDARD 20 OUTPUT_VARIABLE output)
    if(NOT linked)
      set(problem "a program built from them does not link")
      set(details "\n${output}")
    endif()
  else()
    try_run(ran linked SOURCE_FROM_CONTENT ICUVersion.cpp "${source}" NO_CACHE
      LINK_LIBRARIES ICU::uc CXX_STANDARD 20
      COMPILE_OUTPUT_VARIABLE output RUN_OUTPUT_VARIABLE library_version)
    if(NOT linked)
      set(problem "a program built from them does not link")
      set(details "\n${output}")
    elseif(NOT ran EQUAL 0)
      set(problem "a program built from them does not run")
    elseif(NOT library_version VERSION_EQUAL ICU_VERSION)
      set(problem "the libraries are ICU ${library_version}")
    endif()
  endif()
  if(problem)
    message(FATAL_ERROR
      "ICU's headers in ${ICU_INCLUDE_DIRS} (ICU ${ICU_VERSION}) and its libraries "
      "${ICU_UC_LIBRARIES} come from different installations: ${problem}. Point ICU_ROOT "
      "or CMAKE_PREFIX_PATH at one installation that holds both.${details}")
  endif()
endfunction()
varnholt_check_icu_pairing()
