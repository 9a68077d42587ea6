# varnholt-query is started once per question, and an agent asks many. As
# shared libraries, ICU and the C++ runtime cost more to load and relocate
# than everything else the tool does to answer --version, so a program that
# sets the target property VARNHOLT_STATIC_ICU links their archives instead.
# Programs that start once (the MCP server) and the tests keep them shared, and
# so does a sanitized build, whose runtime replaces the C++ runtime's
# allocation functions.
#
# The archives are taken only from the directory of the shared libraries
# found, so that both come from one installation, and only when a program
# linked from them with this compiler and its C++ library works: Debian's
# archives are built for GCC's C++ library and do not link with Clang's
# libc++. Anything else links ICU shared, and configure says why.

# The flags that link the C++ runtime in. On macOS it is part of the system
# and always shared.
if(APPLE)
  set(varnholt_static_runtime_flags "")
else()
  set(varnholt_static_runtime_flags -static-libstdc++ -static-libgcc)
endif()

# Sets `result` to the list of ICU archives to link, or to "" with the reason
# in `reason`.
function(varnholt_find_icu_archives result reason)
  set(${result} "" PARENT_SCOPE)
  get_filename_component(library_directory "${ICU_UC_LIBRARY}" DIRECTORY)
  set(archives "")
  foreach(component i18n uc data)
    set(name ${CMAKE_STATIC_LIBRARY_PREFIX}icu${component}${CMAKE_STATIC_LIBRARY_SUFFIX})
    find_library(archive_${component} NAMES ${name} PATHS ${library_directory} NO_DEFAULT_PATH NO_CACHE)
    if(NOT archive_${component})
      set(${reason} "${library_directory} has no ${name}" PARENT_SCOPE)
      return()
    endif()
    list(APPEND archives ${archive_${component}})
  endforeach()

  try_compile(linked SOURCE_FROM_CONTENT ICUArchives.cpp [=[
#include <unicode/calendar.h>
#include <unicode/timezone.h>
int main() {
    UErrorCode status = U_ZERO_ERROR;
    icu::Calendar* calendar = icu::Calendar::createInstance(icu::TimeZone::getGMT()->clone(), status);
    delete calendar;
    return U_SUCCESS(status) ? 0 : 1;
}
]=]
    NO_CACHE
    CMAKE_FLAGS "-DINCLUDE_DIRECTORIES=${ICU_INCLUDE_DIRS}"
    LINK_LIBRARIES ${archives} ${CMAKE_DL_LIBS}
    LINK_OPTIONS ${varnholt_static_runtime_flags}
    CXX_STANDARD 20)
  if(NOT linked)
    set(${reason} "its archives in ${library_directory} do not link with ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION} and its C++ library (they were built for another)"
        PARENT_SCOPE)
    return()
  endif()
  set(${result} ${archives} PARENT_SCOPE)
endfunction()

add_library(VarnholtICU INTERFACE)
set(varnholt_icu_archives "")
if(VARNHOLT_SANITIZE)
  set(varnholt_shared_icu_reason "the build is sanitized")
elseif(NOT VARNHOLT_STATIC_ICU)
  set(varnholt_shared_icu_reason "VARNHOLT_STATIC_ICU is OFF")
else()
  varnholt_find_icu_archives(varnholt_icu_archives varnholt_shared_icu_reason)
endif()

if(varnholt_icu_archives)
  list(JOIN varnholt_icu_archives ", " archive_list)
  message(STATUS "varnholt-query links ICU and the C++ runtime in: ${archive_list}")
  set(varnholt_static_icu $<BOOL:$<TARGET_PROPERTY:VARNHOLT_STATIC_ICU>>)
  foreach(archive ${varnholt_icu_archives})
    target_link_libraries(VarnholtICU INTERFACE $<${varnholt_static_icu}:${archive}>)
  endforeach()
  target_link_libraries(VarnholtICU INTERFACE
    $<${varnholt_static_icu}:${CMAKE_DL_LIBS}>
    $<$<NOT:${varnholt_static_icu}>:ICU::i18n>
    $<$<NOT:${varnholt_static_icu}>:ICU::uc>)
  foreach(flag ${varnholt_static_runtime_flags})
    target_link_libraries(VarnholtICU INTERFACE $<${varnholt_static_icu}:${flag}>)
  endforeach()
  target_include_directories(VarnholtICU INTERFACE ${ICU_INCLUDE_DIRS})
else()
  message(STATUS "varnholt-query links ICU and the C++ runtime shared: ${varnholt_shared_icu_reason}")
  target_link_libraries(VarnholtICU INTERFACE ICU::i18n ICU::uc)
endif()
