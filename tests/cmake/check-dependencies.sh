#!/usr/bin/env bash
# Checks how configure finds ICU, with fake installations put first on the
# search path:
# - headers of another ICU version, whose libraries are elsewhere: configure
#   fails and says that headers and libraries come from different
#   installations;
# - an installation with headers and shared libraries but no archives, named
#   by ICU_ROOT or by CMAKE_PREFIX_PATH: configure takes both from there, says
#   which ICU it found, and links ICU shared, saying why.
#
# Usage: check-dependencies.sh SOURCE_DIR WORK_DIR CXX_COMPILER [CXX_FLAGS]
# The environment may name the cmake to run (CMAKE) and its generator
# (CMAKE_GENERATOR).
set -euo pipefail
source_dir="$1"
work="$2"
compiler="$3"
flags="${4:-}"
failures=0

fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# Configure's output with CMake's line wrapping undone.
configure() {
  "${CMAKE:-cmake}" -S "$source_dir" -DVARNHOLT_BUILD_TESTS=OFF -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="$flags" "$@" 2>&1 | tr '\n' ' ' | tr -s ' '
  return "${PIPESTATUS[0]}"
}

rm -rf "$work"
mkdir -p "$work"

# The include directory and the ICU::uc library of the real installation, as
# this project's configure finds them.
real_configure="$(configure -B "$work/real")" ||
  { echo "$real_configure" >&2; fail "configure with the installed ICU failed"; exit 1; }
real_include="$(sed -n 's/^ICU_INCLUDE_DIR:PATH=//p' "$work/real/CMakeCache.txt")"
real_library="$(sed -n 's/^ICU_UC_LIBRARY_RELEASE:FILEPATH=//p' "$work/real/CMakeCache.txt")"
real_i18n="$(sed -n 's/^ICU_I18N_LIBRARY_RELEASE:FILEPATH=//p' "$work/real/CMakeCache.txt")"
real_version="$(sed -n 's/^#define U_ICU_VERSION_MAJOR_NUM \([0-9]*\)$/\1/p' "$real_include/unicode/uvernum.h")"
[ -n "$real_version" ] || { fail "no ICU version in $real_include/unicode/uvernum.h"; exit 1; }
grep -qF -- "-- ICU $real_version." <<<"$real_configure" ||
  fail "configure does not say which ICU it found: $real_configure"
grep -qF -- "-- SQLite 3." <<<"$real_configure" ||
  fail "configure does not say which SQLite it found: $real_configure"

# Headers of the version before, alone: the libraries come from the system.
other_version=$((real_version - 1))
mkdir -p "$work/headers-only/include"
cp -R "$real_include/unicode" "$work/headers-only/include/"
sed -i.orig \
  -e "s/^#define U_ICU_VERSION_MAJOR_NUM $real_version\$/#define U_ICU_VERSION_MAJOR_NUM $other_version/" \
  -e "s/^#define U_ICU_VERSION_SUFFIX _$real_version\$/#define U_ICU_VERSION_SUFFIX _$other_version/" \
  -e "s/^#define U_ICU_VERSION \"$real_version\./#define U_ICU_VERSION \"$other_version./" \
  -e "s/^#define U_ICU_VERSION_SHORT \"$real_version\"/#define U_ICU_VERSION_SHORT \"$other_version\"/" \
  "$work/headers-only/include/unicode/uvernum.h"
if cmp -s "$work/headers-only/include/unicode/uvernum.h" "$work/headers-only/include/unicode/uvernum.h.orig"; then
  fail "could not change the version of the copied headers"
fi
status=0
mixed="$(configure -B "$work/mixed" -DICU_ROOT="$work/headers-only")" ||
  status=$?
[ "$status" -ne 0 ] || fail "configure accepted ICU $other_version headers with ICU $real_version libraries"
grep -q "ICU's headers in $work/headers-only/include (ICU $other_version\.[0-9.]*) and its" <<<"$mixed" ||
  fail "configure does not name the headers that do not belong: $mixed"
grep -q "come from different installations" <<<"$mixed" ||
  fail "configure does not say that headers and libraries do not belong together: $mixed"

# Headers and shared libraries, no archives.
mkdir -p "$work/shared-only/include" "$work/shared-only/lib"
cp -R "$real_include/unicode" "$work/shared-only/include/"
for library in "$real_library" "$real_i18n"; do
  ln -s "$library" "$work/shared-only/lib/$(basename "$library")"
done
# Named by ICU_ROOT, and by CMAKE_PREFIX_PATH as a package manager would.
for setting in ICU_ROOT CMAKE_PREFIX_PATH; do
  status=0
  shared="$(configure -B "$work/shared-$setting" -D"$setting"="$work/shared-only")" || status=$?
  [ "$status" -eq 0 ] || fail "$setting: configure failed with an ICU that has no archives: $shared"
  grep -qF -- "-- ICU $real_version." <<<"$shared" && grep -qF "headers in $work/shared-only/include" <<<"$shared" ||
    fail "$setting: configure does not say that it found the ICU in $work/shared-only: $shared"
  grep -qF "links ICU and the C++ runtime shared: $work/shared-only/lib has no " <<<"$shared" ||
    fail "$setting: configure does not say why it links ICU shared: $shared"
done

if [ "$failures" -ne 0 ]; then
  echo "$failures failures" >&2
  exit 1
fi
rm -rf "$work"
echo "configure finds ICU and SQLite and refuses mixed ICU installations"
