#!/usr/bin/env bash
# Builds varnholt-query with its tests and runs them. Tests only ever use
# temporary directories as the user's home.
#
# Usage: scripts/test.sh
#          Every test in every configuration, as CI runs it: the GCC build,
#          the page-cache helpers' tests with ThreadSanitizer, the Clang and
#          libc++ build with AddressSanitizer and UndefinedBehaviorSanitizer,
#          and the byte comparison of the two.
#        scripts/test.sh --quick [CTEST_ARGUMENTS...]
#          The inner loop: the GCC build in build-tests, then its unit and
#          end-to-end tests; further arguments go to ctest (-L '^search$'
#          runs the search subsystem's tests, -R a test name pattern).
#
# With ccache installed (the dependency script installs it), configure uses
# it, so that a build after the first compiles only what changed, also in
# another checkout.
set -euo pipefail
cd "$(dirname "$0")/.."

quick=false
if [ "${1:-}" = --quick ]; then
  quick=true
  shift
elif [ $# -gt 0 ]; then
  sed -n '4,13s/^# \{0,1\}//p' "$0" >&2
  exit 2
fi

scripts/install-dependencies.sh

jobs="$(getconf _NPROCESSORS_ONLN)"
# The full run compiles each target's files sixteen to a unit: the headers
# (nlohmann/json, GoogleTest) and the templates they instantiate are compiled
# once per unit instead of once per file, which halves the time of a build
# from nothing. The quick loop compiles file by file, so that a change
# recompiles one file, and a file that lacks an include of its own fails
# there.
if $quick; then unity=OFF; else unity=ON; fi
started=$SECONDS
timings=()

# Runs a command and notes how long it took, and whether it failed, for the
# summary at the end; a failure still ends the run.
timed() {
  local what="$1" start=$SECONDS status=0
  shift
  "$@" || status=$?
  [ $status -eq 0 ] || what="$what (failed, exit status $status)"
  timings+=("$(printf '%5d s  %s' $((SECONDS - start)) "$what")")
  return $status
}

summary() {
  [ ${#timings[@]} -gt 0 ] || return 0
  echo
  echo "Time per step:"
  printf '  %s\n' "${timings[@]}"
  echo "  $((SECONDS - started)) s in all"
}
trap summary EXIT

# Configures, builds and tests one configuration: build directory, a name
# for the summary, ctest's arguments, then `--` and configure's arguments.
# The quick loop configures only a new build directory, or one that the full
# run left in units; the build itself configures again when a CMakeLists.txt
# changed.
build_and_test() {
  local build="$1" name="$2" ctest_arguments=()
  shift 2
  while [ "$1" != -- ]; do
    ctest_arguments+=("$1")
    shift
  done
  shift
  if ! $quick || [ ! -f "$build/CMakeCache.txt" ] ||
    grep -Eq '^(VARNHOLT|CMAKE)_UNITY_BUILD:[A-Z]+=ON$' "$build/CMakeCache.txt"; then
    timed "$name: configure" cmake -S . -B "$build" -G Ninja -DVARNHOLT_BUILD_TESTS=ON "$@" \
      -DVARNHOLT_UNITY_BUILD="$unity" -UCMAKE_UNITY_BUILD >/dev/null
  fi
  timed "$name: build" cmake --build "$build" -j "$jobs"
  timed "$name: tests" ctest --test-dir "$build" -j "$jobs" --output-on-failure "${ctest_arguments[@]}"
}

# GCC and its C++ library, Debian's own toolchain: the build that developers
# test in, and whose Debian package is checked (it installs below /usr). The
# quick loop builds it with debug information, for a debugger; the full run,
# which only passes or fails, at the same -O2 without it, which GCC compiles
# in two thirds of the time (the end-to-end tests' unit: 29 s against 44 s).
gcc_configuration() {
  local flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
  $quick || flags=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG")
  build_and_test build-tests GCC "$@" -- "${flags[@]}" -DCMAKE_INSTALL_PREFIX=/usr
}

if [ "$(uname -s)" = Darwin ]; then
  # macOS: Apple's Clang and libc++, ICU and SQLite from Homebrew (configure
  # asks Homebrew where they are). The end-to-end tests are not built here:
  # they need nss_wrapper, libfaketime and setpriv, which exist for Linux
  # only. There is no Debian package and no sanitized build.
  $quick && set -- -L '^(unit|e2e)$' "$@"
  build_and_test build-tests Clang "$@" -- -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_COMPILE_WARNING_AS_ERROR=ON
  exit 0
fi

if $quick; then
  gcc_configuration -L '^(unit|e2e)$' "$@"
  exit 0
fi

# Clang and LLVM's C++ library, the toolchain of macOS, where most recorder
# databases are, with AddressSanitizer and UndefinedBehaviorSanitizer: a leak,
# a bad memory access or undefined behaviour, in a test or in a program an
# end-to-end test runs, fails the run. Every target (the benchmarks' too,
# which are only built), warnings as errors, GoogleTest compiled from
# Debian's sources for that library. ICU and SQLite stay Debian's, linked
# shared (their archives are built for GCC's C++ library). -O1, as the
# sanitizers advise, with line tables for their reports; the tests' own code
# at -O0, the differential tests' excepted (tests/CMakeLists.txt).
clang_sanitized_configuration() {
  build_and_test build-clang "Clang, libc++, sanitizers" -- -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_CXX_FLAGS="-stdlib=libc++ -O1 -gline-tables-only" \
    -DVARNHOLT_GOOGLETEST_SOURCE=/usr/src/googletest -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
    -DVARNHOLT_BUILD_BENCHMARKS=ON -DVARNHOLT_SANITIZE=ON
}

# The helpers that warm the page cache for a cold answer, the tool's only
# threads, under ThreadSanitizer: their tests alone, in a build of their
# own (build-tsan), where a data race fails the run. A minute or two.
thread_sanitized_warming() {
  timed "ThreadSanitizer: page-cache helpers' tests" scripts/thread-sanitize-warming.sh
}

# Both builds print the same bytes and exit alike for every command, on
# random recorder databases full of awkward rows and on two weeks of sample
# activity (the databases made by the GCC build's generators).
compare_builds() {
  timed "compare both builds' outputs" bench/compare-outputs.sh \
    build-tests/app/varnholt-query build-clang/app/varnholt-query \
    --random 1 40 --random-db build-tests/tools/random_db/varnholt-random-db \
    --sample 14 3 --sample-db build-tests/tools/sample_db/varnholt-sample-db
}

# The whole run. A further configuration (a small set of tests under another
# sanitizer, a browser test) is a function like the ones above and a line
# here. The whole is meant to take at most 20 minutes on two cores from
# nothing (16 minutes on an idle machine, 28 on a slower one); the summary
# at the end shows where the time goes (mostly the tests of the sanitized
# build and the two builds).
gcc_configuration
thread_sanitized_warming
clang_sanitized_configuration
compare_builds
