#!/usr/bin/env bash
# Checks the manual pages against the programs they describe: every command
# and flag of varnholt-query's help text and command list, every error code,
# and every flag and tool of varnholt-mcp's usage must appear in the page, the
# version in each page's title must be the programs' version, and groff and
# man must render both pages without a warning.
#
# Usage: check-man-pages.sh VARNHOLT_QUERY VARNHOLT_MCP SOURCE_DIR
set -euo pipefail
query="$1"
mcp="$2"
source_dir="$3"
failures=0

fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# The page as plain text: no hyphenation and lines long enough that no word
# is split, so each word can be looked up whole.
render() {
  groff -man -Tascii -rHY=0 -rLL=2000n -P-c -P-b -P-u -P-o "$1"
}

# True when `word` stands in `text` as a word of its own.
has_word() {
  grep -qE -- "(^|[^A-Za-z0-9_-])$2([^A-Za-z0-9_-]|\$)" <<<"$1"
}

check_page() {
  local page="$1" warnings
  warnings="$(groff -man -Tutf8 -ww -z "$page" 2>&1)"
  [ -z "$warnings" ] || fail "$page: groff warns: $warnings"
  warnings="$(MANWIDTH=80 man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null)"
  [ -z "$warnings" ] || fail "$page: man warns: $warnings"
}

check_version() {
  local page="$1" version_line="$2" version
  version="$(sed -E 's/^[^ ]+ ([^ ]+) .*/\1/' <<<"$version_line")"
  grep -qE "^\.TH .*\"varnholt-query $version\"" "$page" || fail "$page: title does not name version $version"
}

query_page="$source_dir/doc/varnholt-query.1"
mcp_page="$source_dir/doc/varnholt-mcp.1"
check_page "$query_page"
check_page "$mcp_page"
query_text="$(render "$query_page")"
mcp_text="$(render "$mcp_page")"

# varnholt-query: commands (first word of each line under COMMANDS:), every
# flag of the help text, and every name and flag of the command list.
help_text="$("$query" --help 2>&1 >/dev/null)"
command_list="$("$query" --help --json)"
commands="$(awk '/^COMMANDS:/ {on = 1; next} on && NF == 0 {on = 0} on {print $1}' <<<"$help_text")"
[ -n "$commands" ] || fail "no commands found in the help text"
words="$commands
$(grep -oE -- '(^|[ ,\[])-{1,2}[a-z][a-z-]*' <<<"$help_text" | sed -E 's/^[ ,\[]//')
$(grep -oE '"name": "[a-z-]+"' <<<"$command_list" | sed -E 's/"name": "(.*)"/\1/')
$(grep -oE -- '"--[a-z-]+"' <<<"$command_list" | tr -d '"')
help
version"
codes="$(grep -oE 'return "[A-Z_]+";' "$source_dir/VarnholtQueryLib/cli/CLIError.cpp" | sed -E 's/return "(.*)";/\1/')"
[ -n "$codes" ] || fail "no error codes found in CLIError.cpp"
checked=0
for word in $(sort -u <<<"$words
$codes"); do
  checked=$((checked + 1))
  has_word "$query_text" "$word" || fail "varnholt-query.1 does not mention $word"
done
check_version "$query_page" "$("$query" --version)"

# varnholt-mcp: the flags of its usage and the tools it lists there.
usage="$("$mcp" --help)"
tools="$(sed -nE 's/^Tools: ([a-z_, ]+);.*/\1/p' <<<"$usage" | tr -d ',')"
[ -n "$tools" ] || fail "no tools found in varnholt-mcp --help"
for word in $(grep -oE -- '(^|[ ,])-{1,2}[a-z][a-z-]*' <<<"$usage" | sed -E 's/^[ ,]//' | sort -u) $tools; do
  checked=$((checked + 1))
  has_word "$mcp_text" "$word" || fail "varnholt-mcp.1 does not mention $word"
done
check_version "$mcp_page" "$("$mcp" --version)"

echo "$checked words checked, $failures failures"
[ "$failures" -eq 0 ]
