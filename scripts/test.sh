#!/usr/bin/env bash
# Builds varnholt-query with its tests and runs every unit and end-to-end test.
# Tests only ever use temporary directories as the user's home.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh

cmake -S . -B build-tests -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARNHOLT_BUILD_TESTS=ON
cmake --build build-tests -j2
(cd build-tests && ctest -j2 --output-on-failure)

# The Debian package of the build just tested: built, checked as installed
# files, and checked by lintian.
scripts/package.sh build-tests

# The same tests built with AddressSanitizer and UndefinedBehaviorSanitizer:
# a leak, a bad memory access or undefined behaviour, in a test or in the
# binary an end-to-end test runs, fails the run.
cmake -S . -B build-sanitize -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARNHOLT_BUILD_TESTS=ON \
  -DVARNHOLT_SANITIZE=ON
cmake --build build-sanitize -j2
(cd build-sanitize && ctest -j2 --output-on-failure)
