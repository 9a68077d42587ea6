#!/usr/bin/env bash
# Builds varnholt-query with its tests and runs every unit and end-to-end test.
# Tests only ever use temporary directories as the user's home.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh
cmake -S . -B build-tests -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARNHOLT_BUILD_TESTS=ON
cmake --build build-tests -j2
cd build-tests
ctest -j2 --output-on-failure

# The Debian package of the build just tested: built, checked as installed
# files, and checked by lintian.
cd ..
scripts/package.sh build-tests
