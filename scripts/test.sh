#!/usr/bin/env bash
# Builds varnholt-query with its tests and runs every unit and end-to-end test.
# Tests only ever use temporary directories as the user's home.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh

if [ "$(uname -s)" = Darwin ]; then
  # macOS: Apple's Clang and libc++, ICU and SQLite from Homebrew (configure
  # asks Homebrew where they are). The end-to-end tests are not built here:
  # they need nss_wrapper, libfaketime and setpriv, which exist for Linux
  # only. There is no Debian package and no separate sanitized build.
  cmake -S . -B build-tests -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARNHOLT_BUILD_TESTS=ON \
    -DCMAKE_COMPILE_WARNING_AS_ERROR=ON
  cmake --build build-tests
  (cd build-tests && ctest -j2 --output-on-failure)
  exit 0
fi

# GCC and its C++ library, Debian's own toolchain.
cmake -S . -B build-tests -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARNHOLT_BUILD_TESTS=ON
cmake --build build-tests -j2
(cd build-tests && ctest -j2 --output-on-failure)

# The Debian package of the build just tested: built, checked as installed
# files, and checked by lintian.
scripts/package.sh build-tests

# Clang and LLVM's C++ library, the toolchain of macOS, where most recorder
# databases are: every target (the benchmarks' too, which are only built),
# warnings as errors, GoogleTest compiled from Debian's sources for that
# library. ICU and SQLite stay Debian's, linked shared (their archives are
# built for GCC's C++ library). -O1 without debug information because it is
# quickest from scratch: building and testing took 197 s and 127 s, against
# 492 s and 169 s at -O2 -g and 273 s and 260 s at -O0 (one run each, two
# cores, no compiler cache).
cmake -S . -B build-clang -G Ninja -DCMAKE_BUILD_TYPE=None -DVARNHOLT_BUILD_TESTS=ON \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS="-stdlib=libc++ -O1" \
  -DVARNHOLT_GOOGLETEST_SOURCE=/usr/src/googletest -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
  -DVARNHOLT_BUILD_BENCHMARKS=ON
cmake --build build-clang -j2
(cd build-clang && ctest -j2 --output-on-failure)
# Both builds print the same bytes and exit alike for every command, on
# random recorder databases full of awkward rows and on two weeks of sample
# activity.
bench/compare-outputs.sh build-tests/app/varnholt-query build-clang/app/varnholt-query \
  --random 1 40 --random-db build-clang/tools/random_db/varnholt-random-db \
  --sample 14 3 --sample-db build-clang/tools/sample_db/varnholt-sample-db

# The same tests built with AddressSanitizer and UndefinedBehaviorSanitizer:
# a leak, a bad memory access or undefined behaviour, in a test or in the
# binary an end-to-end test runs, fails the run.
cmake -S . -B build-sanitize -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARNHOLT_BUILD_TESTS=ON \
  -DVARNHOLT_SANITIZE=ON
cmake --build build-sanitize -j2
(cd build-sanitize && ctest -j2 --output-on-failure)
