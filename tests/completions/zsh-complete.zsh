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
zpty -w completer 'print -r -- "<ready>"'
local output chunk
while zpty -r completer chunk; do
  [[ $chunk == '<ready>'* ]] && break
done
zpty -w -n completer "$line"$'\t'
# Collect what the terminal shows until it has been quiet for a while.
integer quiet=0
while (( quiet < 10 )); do
  if zpty -r -t completer chunk; then
    output+=$chunk
    quiet=0
  else
    sleep 0.1
    (( quiet++ ))
  fi
done
zpty -d completer
local -a matches
matches=(${(M)${(s: :)output}:#<match>*})
print -rl -- ${(ou)matches#<match>}
