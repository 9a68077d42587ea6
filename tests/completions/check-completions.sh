#!/usr/bin/env bash
# Asks bash, zsh and fish what they complete for varnholt-query, with the
# completion files from the source tree, and checks the answers: a table of
# cases, and against the program itself, every command of the help text and
# every flag that the machine-readable command list gives a command. A shell
# that is not installed is reported and skipped; bash never is.
#
# Usage: check-completions.sh VARNHOLT_QUERY SOURCE_DIR
set -euo pipefail
query="$1"
source_dir="$2"
here="$(cd "$(dirname "$0")" && pwd)"
completions="$source_dir/completions"
failures=0
checked=0

fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# What `shell` offers for the last word of `line`, sorted, one per line.
complete_with() {
  local shell="$1" line="$2"
  case "$shell" in
    bash)
      bash --norc --noprofile -c '
        source "$1"
        read -ra COMP_WORDS <<<"$2"
        [[ "$2" == *" " ]] && COMP_WORDS+=("")
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        COMP_LINE="$2"
        COMP_POINT=${#2}
        _varnholt_query
        printf "%s\n" "${COMPREPLY[@]}"' _ "$completions/varnholt-query.bash" "$line"
      ;;
    zsh) zsh "$here/zsh-complete.zsh" "$completions" "$line" ;;
    fish) fish --no-config -c 'source $argv[1]; complete -C $argv[2]' "$completions/varnholt-query.fish" "$line" | cut -f1 ;;
  esac | sed '/^$/d' | sort -u
}

expect() {
  local shell="$1" line="$2" want="$3" got
  checked=$((checked + 1))
  got="$(complete_with "$shell" "$line" | tr '\n' ' ' | sed 's/ $//')"
  [ "$got" = "$want" ] || fail "$shell, '$line': got '$got', want '$want'"
}

# Every word of `words` is among what `shell` offers for `line`.
expect_all() {
  local shell="$1" line="$2" words="$3" offered word
  offered="$(complete_with "$shell" "$line")"
  for word in $words; do
    checked=$((checked + 1))
    grep -qxF -- "$word" <<<"$offered" || fail "$shell, '$line': $word is not offered"
  done
}

shells=(bash)
for shell in zsh fish; do
  if command -v "$shell" >/dev/null; then shells+=("$shell"); else echo "SKIP: $shell is not installed" >&2; fi
done
bash -n "$completions/varnholt-query.bash" || fail "bash: syntax"
command -v zsh >/dev/null && { zsh -n "$completions/_varnholt-query" || fail "zsh: syntax"; }
command -v fish >/dev/null && { fish --no-config -n "$completions/varnholt-query.fish" || fail "fish: syntax"; }

help_text="$("$query" --help 2>&1 >/dev/null)"
help_commands="$(awk '/^COMMANDS:/ {on = 1; next} on && NF == 0 {on = 0} on {print $1}' <<<"$help_text")"
command_list="$("$query" --help --json)"

for shell in "${shells[@]}"; do
  expect "$shell" "varnholt-query " \
    "entities help last-active-day range recent search status summary support-context this-week timesheet today top version yesterday"
  expect "$shell" "varnholt-query t" "this-week timesheet today top"
  expect "$shell" "varnholt-query --limit 5 la" "last-active-day"
  expect "$shell" "varnholt-query --" "--compact --full --help --json --limit --version"
  expect "$shell" "varnholt-query today --" "--compact --full --help --json --limit --version"
  expect "$shell" "varnholt-query this-week --" "--compact --full --help --json --limit --version --week-start"
  expect "$shell" "varnholt-query this-week --week-start s" "saturday sunday"
  expect "$shell" "varnholt-query recent --" "--compact --full --help --images --json --limit --since --version"
  expect "$shell" "varnholt-query range --from 2026-04-01 --" "--compact --from --full --help --json --limit --to --version"
  expect "$shell" "varnholt-query search invoice --" \
    "--all-words --app --collapse --compact --from --full --help --images --latest --limit --since --to --version"
  expect "$shell" "varnholt-query search invoice --c" "--collapse --compact"
  expect "$shell" "varnholt-query search invoice --al" "--all-words"
  expect "$shell" "varnholt-query entities --" "--help --json --kind --limit --since --version"
  expect "$shell" "varnholt-query status --" "--help --json --version"
  expect "$shell" "varnholt-query summary --" \
    "--app --entity --format --from --help --idle --json --kind --limit --match --max-chars --only --since --to --version --week-start"
  expect "$shell" "varnholt-query summary this-week --" \
    "--app --entity --format --from --help --idle --json --kind --limit --match --max-chars --only --since --to --version --week-start"
  expect "$shell" "varnholt-query summary " \
    "last-active-day last-month last-week this-month this-week today yesterday"
  # A flag's value is no period (fish does not tell values from words).
  [ "$shell" = fish ] || expect "$shell" "varnholt-query summary --match today " \
    "last-active-day last-month last-week this-month this-week today yesterday"
  expect "$shell" "varnholt-query summary --week-start " "friday monday saturday sunday thursday tuesday wednesday"
  expect "$shell" "varnholt-query summary last-week --only " "applications coverage days entities sessions"
  expect "$shell" "varnholt-query summary --format " "html json"
  expect "$shell" "varnholt-query summary --idle " "10m 15m 1h 1m 2m 30m 5m"
  expect "$shell" "varnholt-query timesheet --" \
    "--categories --category --format --from --help --idle --json --max-chars --since --to --version --week-start"
  expect "$shell" "varnholt-query timesheet last-week --category A=app:X --" \
    "--categories --category --format --from --help --idle --json --max-chars --since --to --version --week-start"
  expect "$shell" "varnholt-query timesheet " \
    "last-active-day last-month last-week this-month this-week today yesterday"
  expect "$shell" "varnholt-query timesheet --format " "csv html json"
  expect "$shell" "varnholt-query timesheet --week-start t" "thursday tuesday"
  expect "$shell" "varnholt-query recent --since " "1d 1h 1w 2d 2h 30m 4h"
  expect "$shell" "varnholt-query entities --kind " \
    "app company framework person programming_language project software_tool website"
  expect "$shell" "varnholt-query entities --since 2h --kind pro" "programming_language project"

  # The program's own lists: every command of the help text, and every flag
  # the command list gives a command.
  expect_all "$shell" "varnholt-query " "$help_commands"
  while read -r entry; do
    name="$(sed -E 's/.*"name": "([^"]+)".*/\1/' <<<"$entry")"
    flags="$( (grep -oE -- '"--[a-z-]+"' <<<"${entry#*\"flags\"}" || true) | tr -d '"' | tr '\n' ' ')"
    expect_all "$shell" "varnholt-query $name --" "$flags --help --version"
  done < <(grep '"name"' <<<"$command_list")
done

echo "${shells[*]}: $checked completions checked, $failures failures"
[ "$failures" -eq 0 ]
