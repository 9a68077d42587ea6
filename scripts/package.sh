#!/usr/bin/env bash
# Builds the Debian package of varnholt-query (both programs, their manual
# pages and shell completions), checks it as installed files, and runs
# lintian on it; lintian's findings are printed, and an error fails the run.
#
# Usage: scripts/package.sh [BUILD_DIR]
#   Without BUILD_DIR: a release build in build-package with Debian's
#   hardening flags. With BUILD_DIR: the package of that existing build.
# The test command checks the package of its GCC build the same way
# (DebianPackageTest, label packaging).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh
if [ $# -eq 0 ]; then
  build=build-package
  # Debian's flags with every hardening feature; CMake reads no CPPFLAGS, so
  # the preprocessor's (_FORTIFY_SOURCE) join the compiler's.
  export DEB_BUILD_MAINT_OPTIONS=hardening=+all
  CXXFLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)" \
  LDFLAGS="$(dpkg-buildflags --get LDFLAGS)" \
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVARNHOLT_BUILD_TESTS=OFF \
      -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
else
  build="$1"
  # Below /usr, where the package installs, zsh looks in vendor-completions.
  cmake -S . -B "$build" -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
fi
cmake --build "$build" -j2 --target varnholt-query varnholt-mcp VarnholtManualPages VarnholtDebianChangelog
tests/packaging/check-debian-package.sh "$build" "$build" "$PWD"
