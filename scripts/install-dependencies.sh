#!/usr/bin/env bash
# Installs what building and testing varnholt-query needs, from Debian's
# packages. Does nothing when everything is already there.
set -euo pipefail

packages=(
  cmake ninja-build g++ git
  libsqlite3-dev libicu-dev nlohmann-json3-dev
  libgtest-dev libnss-wrapper faketime sqlite3 tzdata coreutils
  # The manual pages, the shell completions and the Debian package, and
  # their tests.
  groff-base man-db bash-completion zsh fish dpkg-dev file lintian
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
# Node and npm, for the official MCP client in the tests: Debian's nodejs and
# npm, unless some other package already provides the commands.
command -v node >/dev/null || missing+=(nodejs)
command -v npm >/dev/null || missing+=(npm)
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Installing ${missing[*]} needs root or sudo." >&2; exit 1; }
  as_root=(sudo)
fi
echo "Installing: ${missing[*]}" >&2
"${as_root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
