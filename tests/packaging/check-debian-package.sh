#!/usr/bin/env bash
# Packs the Debian package of an existing build (cpack), checks it as
# installed files (check-package.sh), and runs lintian on it; lintian's
# findings are printed, and an error fails the run. The build must be
# configured with the install prefix /usr, where the package installs.
#
# Usage: check-debian-package.sh BUILD_DIR PACKAGE_DIR SOURCE_DIR
#   Writes PACKAGE_DIR/varnholt-query_*.deb. The environment may name the
#   cpack to run (CPACK).
set -euo pipefail
build="$1"
package_dir="$2"
source_dir="$3"
here="$(cd "$(dirname "$0")" && pwd)"

mkdir -p "$package_dir"
rm -f "$package_dir"/varnholt-query_*.deb
if ! output="$("${CPACK:-cpack}" -G DEB --config "$build/CPackConfig.cmake" -B "$package_dir" 2>&1)"; then
  echo "$output" >&2
  echo "cpack failed" >&2
  exit 1
fi
package="$(ls "$package_dir"/varnholt-query_*.deb)"
echo "Built $package"

"$here/check-package.sh" "$package" "$source_dir"

echo "lintian $(dpkg-query -W -f='${Version}' lintian) on $(basename "$package"):"
status=0
findings="$(lintian --display-info --pedantic --show-overrides --fail-on error "$package" 2>&1)" || status=$?
grep -v '^running with root privileges' <<<"$findings" || true
if [ "$status" -ne 0 ]; then
  echo "lintian found errors" >&2
  exit 1
fi
