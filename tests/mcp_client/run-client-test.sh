#!/usr/bin/env bash
# Installs the official MCP TypeScript SDK at the version pinned in
# package-lock.json into WORK_DIR (npm ci, its cache there too, never in a
# home directory) and runs client-test.mjs against the built programs.
#
# Usage: run-client-test.sh WORK_DIR VARNHOLT_MCP VARNHOLT_QUERY VARNHOLT_SAMPLE_DB VARNHOLT_REWRITE_JSON
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
work="$1"
shift

for program in node npm; do
  command -v "$program" >/dev/null || {
    echo "$program is missing; scripts/install-dependencies.sh installs it." >&2
    exit 1
  }
done

mkdir -p "$work"
cp "$here/client-test.mjs" "$work/"
# npm ci starts from scratch each time; skip it while the lockfile that
# node_modules was installed from is unchanged.
if ! cmp -s "$here/package-lock.json" "$work/node_modules/.installed-from-lock.json" 2>/dev/null; then
  cp "$here/package.json" "$here/package-lock.json" "$work/"
  (cd "$work" && npm ci --no-audit --no-fund --cache "$work/.npm-cache" --loglevel=error)
  cp "$here/package-lock.json" "$work/node_modules/.installed-from-lock.json"
fi
exec node "$work/client-test.mjs" "$@"
