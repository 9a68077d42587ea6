#!/usr/bin/env bash
# Builds the sqlite_support tests with ThreadSanitizer in build-tsan and runs
# the tests of the helpers that warm the page cache, the one place where this
# tool runs threads: a data race between them fails the run.
#
# Usage: scripts/thread-sanitize-warming.sh
#
# GCC and its C++ library, as in the developers' build; only the tests'
# executable and the libraries it links are built. SQLite, ICU and
# GoogleTest stay Debian's, uninstrumented: the sanitizer checks our code's
# use of the threads and of the data they share, and SQLite's own mutexes
# are kept out of it (thread-sanitize-warming.supp), so that only our
# synchronization orders what the helpers share. -O1, as the sanitizer
# advises, with debug information for its reports.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build-tsan
flags="-O1 -g -fno-omit-frame-pointer -fsanitize=thread"

# The tests the helpers' threads run in: the cold rule, the scope, the
# helpers themselves and their policy.
tests='ColdReads*:WarmingConnections*:WarmingPolicy*:PageWarming*'

# Configured once; the build itself configures again when a CMakeLists.txt
# changed. Units of sixteen sources: this build's objects serve nothing
# else, and a build from nothing takes half the time.
if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S . -B "$build" -G Ninja -DVARNHOLT_BUILD_TESTS=ON -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_CXX_COMPILER=g++ \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread \
    -DVARNHOLT_UNITY_BUILD=ON -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null
fi
cmake --build "$build" -j "$(getconf _NPROCESSORS_ONLN)" --target SQLiteSupportTests

# halt_on_error: the first report ends the process with a failing status
# (66), so a report can never pass unnoticed among passing tests. With
# SQLite's calls ignored, the sanitizer sees SQLite release mutexes it never
# saw it take (a call that ends in pthread_mutex_unlock returns to our
# code): report_mutex_bugs=0 keeps those from being reported as misuse.
TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 report_mutex_bugs=0 \
suppressions=$PWD/scripts/thread-sanitize-warming.supp ${TSAN_OPTIONS:-}" \
  "$build/tests/SQLiteSupportTests" --gtest_filter="$tests"
