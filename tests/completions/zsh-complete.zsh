#!/usr/bin/env zsh
# Prints, one per line, what zsh's completion system offers for the last word
# of COMMAND_LINE, using the completion functions in COMPLETION_DIR: an
# interactive zsh (no start-up files) on a pseudo-terminal gets the line and
# a Tab, and a compadd wrapper reports every match it adds.
#
# Usage: zsh-complete.zsh COMPLETION_DIR COMMAND_LINE
emulate -L zsh
zmodload zsh/zpty || { print -u2 "zsh/zpty is missing"; exit 2 }
local directory=$1 line=$2

zpty completer zsh -f -i
zpty -w completer "PROMPT=''; fpath=(${(q)directory} \$fpath); autoload -Uz compinit; compinit -u -D"
zpty -w completer 'compadd() {
  local -a found
  builtin compadd -O found "$@"
  (( ${#found} )) && print -rn -- " <match>"${^found}" "
  builtin compadd "$@"
}'
zpty -w completer "bindkey '^I' complete-word"
# A key of its own that prints a marker: keys are handled one after the
# other, so the marker follows every match the Tab before it added. Not ^D:
# typed before the line editor takes the terminal, the terminal itself
# would take that one as the end of input.
zpty -w completer 'completion-done() { print -rn -- "<done>" }; zle -N completion-done; bindkey "^X^X" completion-done'
zpty -w completer 'print -r -- "<ready>"'
local output chunk
while zpty -r completer chunk; do
  [[ $chunk == '<ready>'* ]] && break
done
zpty -w -n completer "$line"$'\t\x18\x18'
# Collect what the terminal shows up to the marker (at most ten seconds).
integer waited=0
while [[ $output != *'<done>'* ]] && (( waited < 200 )); do
  if zpty -r -t completer chunk; then
    output+=$chunk
  else
    sleep 0.05
    (( waited++ ))
  fi
done
[[ $output == *'<done>'* ]] || { print -u2 "zsh did not finish completing '$line'"; exit 2 }
zpty -d completer
local -a matches
matches=(${(M)${(s: :)output}:#<match>*})
print -rl -- ${(ou)matches#<match>}
