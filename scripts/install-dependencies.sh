#!/usr/bin/env bash
# Installs what building and testing varnholt-query needs, from Debian's
# packages, or on macOS from Homebrew's. Does nothing when everything is
# already there.
set -euo pipefail

if [ "$(uname -s)" = Darwin ]; then
  # Apple's command-line tools bring Clang, libc++, git, ruby and sqlite3.
  command -v brew >/dev/null || { echo "Installing the dependencies on macOS needs Homebrew." >&2; exit 1; }
  formulae=(cmake ninja ccache icu4c sqlite nlohmann-json googletest)
  missing=()
  for formula in "${formulae[@]}"; do
    brew list --versions "$formula" >/dev/null 2>&1 || missing+=("$formula")
  done
  [ ${#missing[@]} -eq 0 ] && exit 0
  echo "Installing: ${missing[*]}" >&2
  brew install "${missing[@]}"
  exit 0
fi

packages=(
  cmake ninja-build g++ git
  # A compiler cache, which configure uses when it is installed: a build
  # after the first compiles only what changed.
  ccache
  libsqlite3-dev libicu-dev nlohmann-json3-dev
  libgtest-dev libnss-wrapper faketime sqlite3 tzdata coreutils
  # The second build of the tests: Clang with LLVM's C++ library, as on
  # macOS, and GoogleTest's sources to compile for that library.
  clang libc++-dev libc++abi-dev googletest
  # The manual pages, the shell completions and the Debian package, and
  # their tests; Ruby for the test of the Homebrew formula.
  groff-base man-db bash-completion zsh fish dpkg-dev file lintian ruby
  # The sources of the locales, from which the tests generate one with a
  # decimal comma in the build tree.
  locales
  # The time view's test draws it in a real browser, Debian's own: the test
  # never downloads one.
  chromium fonts-dejavu-core
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
