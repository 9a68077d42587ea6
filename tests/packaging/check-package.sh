#!/usr/bin/env bash
# Checks the Debian package as a user would meet it once installed: the files
# in their standard places, runtime dependencies read from the binaries,
# stripped programs that run, manual pages that man renders without a
# warning, and completions that bash-completion, zsh and fish find where the
# package puts them. Works on an unpacked copy; installs nothing.
#
# Usage: check-package.sh PACKAGE.deb SOURCE_DIR
set -euo pipefail
package="$1"
source_dir="$2"
failures=0
fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

root="$(mktemp -d)"
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$package" "$root"

expected="./usr/bin/varnholt-mcp
./usr/bin/varnholt-query
./usr/share/bash-completion/completions/varnholt-query
./usr/share/doc/varnholt-query/changelog.Debian.gz
./usr/share/doc/varnholt-query/copyright
./usr/share/fish/vendor_completions.d/varnholt-query.fish
./usr/share/lintian/overrides/varnholt-query
./usr/share/man/man1/varnholt-mcp.1.gz
./usr/share/man/man1/varnholt-query.1.gz
./usr/share/zsh/vendor-completions/_varnholt-query"
files="$(cd "$root" && find . -type f | sort)"
[ "$files" = "$expected" ] || fail "the package holds other files than expected:
$(diff <(echo "$expected") <(echo "$files") || true)"

depends="$(dpkg-deb -f "$package" Depends)"
for library in libc6 libicu libsqlite3-0 libstdc++6; do
  grep -q "$library" <<<"$depends" || fail "Depends lacks $library: $depends"
done
for field in Maintainer Section Priority Description; do
  [ -n "$(dpkg-deb -f "$package" "$field")" ] || fail "no $field"
done

# varnholt-query starts once per question: it carries ICU and the C++ runtime
# in itself instead of loading them (the MCP server, started once, loads them).
needed="$(readelf -d "$root/usr/bin/varnholt-query" | grep NEEDED || true)"
if grep -qE "libicu|libstdc\+\+" <<<"$needed"; then
  fail "varnholt-query loads ICU or the C++ runtime as shared libraries: $needed"
fi

for program in varnholt-query varnholt-mcp; do
  binary="$root/usr/bin/$program"
  file "$binary" | grep -q ", stripped" || fail "$program is not stripped"
  version="$("$binary" --version)"
  [[ "$version" == "$program "* ]] || fail "$program --version printed '$version'"
  warnings="$(MANWIDTH=80 man --warnings -E UTF-8 -l "$root/usr/share/man/man1/$program.1.gz" 2>&1 >/dev/null)"
  [ -z "$warnings" ] || fail "man warns about $program.1.gz: $warnings"
done

# The shells' own look-up, pointed at the unpacked /usr/share.
if [ -f /usr/share/bash-completion/bash_completion ]; then
  registered="$(XDG_DATA_DIRS="$root/usr/share" bash --norc --noprofile -c '
    source /usr/share/bash-completion/bash_completion
    __load_completion varnholt-query && complete -p varnholt-query')"
  [ "$registered" = "complete -F _varnholt_query varnholt-query" ] ||
    fail "bash-completion does not load the completion: '$registered'"
else
  echo "SKIP: bash-completion is not installed" >&2
fi
if command -v zsh >/dev/null; then
  offered="$(zsh "$source_dir/tests/completions/zsh-complete.zsh" "$root/usr/share/zsh/vendor-completions" "varnholt-query sea")"
  [ "$offered" = "search" ] || fail "zsh does not complete from the package: '$offered'"
fi
if command -v fish >/dev/null; then
  # fish loads completions only for a command it finds on the PATH.
  offered="$(PATH="$root/usr/bin:$PATH" fish --no-config -c \
    'set -p fish_complete_path $argv[1]; complete -C "varnholt-query sea"' \
    "$root/usr/share/fish/vendor_completions.d" | cut -f1)"
  [ "$offered" = "search" ] || fail "fish does not complete from the package: '$offered'"
fi

echo "$(basename "$package"): $failures failures"
[ "$failures" -eq 0 ]
