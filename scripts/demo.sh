#!/usr/bin/env bash
# Builds varnholt-query and answers `today` from the recorder's database. When
# this user has no recorder database yet, a sample one with two weeks of
# synthetic activity is created at ~/.varnholt/varnholt.db first (an existing
# database is never touched).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DVARNHOLT_BUILD_TESTS=OFF >/dev/null
cmake --build build -j2 >/dev/null
build/tools/sample_db/varnholt-sample-db --default-location --days 14
build/app/varnholt-query today
