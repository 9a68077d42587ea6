#!/usr/bin/env bash
# Installs the browser test's npm packages at the versions pinned in
# package-lock.json into WORK_DIR (npm ci, its cache there too, never in a
# home directory), bundles the official MCP Apps host bridge for the
# browser, makes the fixtures with the built programs and draws them in
# Debian's Chromium. Screenshots land in WORK_DIR/screenshots.
#
# Usage: run-view-test.sh WORK_DIR VARNHOLT_VIEW_FIXTURES
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
work="$1"
fixtures_program="$2"

for program in node npm; do
  command -v "$program" >/dev/null || {
    echo "$program is missing; scripts/install-dependencies.sh installs it." >&2
    exit 1
  }
done
[ -x /usr/bin/chromium ] || {
  echo "/usr/bin/chromium is missing; scripts/install-dependencies.sh installs it." >&2
  exit 1
}

mkdir -p "$work"
cp "$here/view-test.mjs" "$here/host.mjs" "$work/"
# npm ci starts from scratch each time; skip it while the lockfile that
# node_modules was installed from is unchanged. Playwright must never fetch
# a browser of its own: the test runs Debian's.
if ! cmp -s "$here/package-lock.json" "$work/node_modules/.installed-from-lock.json" 2>/dev/null; then
  cp "$here/package.json" "$here/package-lock.json" "$work/"
  (cd "$work" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --cache "$work/.npm-cache" --loglevel=error)
  cp "$here/package-lock.json" "$work/node_modules/.installed-from-lock.json"
fi
(cd "$work" && ./node_modules/.bin/esbuild host.mjs --bundle --format=iife --platform=browser \
  --outfile=host-bundle.js --log-level=warning)

rm -rf "$work/fixtures"
"$fixtures_program" "$work/fixtures" "$here/fixtures"
exec node "$work/view-test.mjs" "$work"
