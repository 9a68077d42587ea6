# bash completion for varnholt-query                       -*- shell-script -*-
#
# Commands, the flags each command reads, the usual durations for --since and
# the entity kinds seen in practice for --kind. The first word that is
# neither a flag nor a flag's value is the command, as the tool itself sees it.

_varnholt_query() {
    local cur prev
    COMPREPLY=()
    cur="${COMP_WORDS[COMP_CWORD]}"
    prev=""
    ((COMP_CWORD > 0)) && prev="${COMP_WORDS[COMP_CWORD - 1]}"

    local commands="today yesterday this-week last-active-day recent range search entities summary support-context status top help version"
    local value_flags=" --limit --since --from --to --app --kind "

    case "$prev" in
        --since)
            COMPREPLY=($(compgen -W "30m 1h 2h 4h 1d 2d 1w" -- "$cur"))
            return 0
            ;;
        --kind)
            COMPREPLY=($(compgen -W "app person company project website programming_language software_tool framework" -- "$cur"))
            return 0
            ;;
        --idle)
            COMPREPLY=($(compgen -W "1m 2m 5m 10m 15m 30m 1h" -- "$cur"))
            return 0
            ;;
        --format)
            COMPREPLY=($(compgen -W "json html" -- "$cur"))
            return 0
            ;;
        --limit | --from | --to | --app | --max-chars)
            return 0
            ;;
    esac

    # The command: the first positional word before the one being completed.
    local command="" index=1 word
    while ((index < COMP_CWORD)); do
        word="${COMP_WORDS[index]}"
        if [[ "$word" == -h || "$word" == -v || "$word" == --* ]]; then
            [[ "$value_flags" == *" $word "* ]] && index=$((index + 1))
        else
            command="$word"
            break
        fi
        index=$((index + 1))
    done

    if [[ -z "$command" && "$cur" != -* ]]; then
        COMPREPLY=($(compgen -W "$commands" -- "$cur"))
        return 0
    fi

    # summary's one positional word is its period.
    if [[ "$command" == summary && "$cur" != -* ]]; then
        COMPREPLY=($(compgen -W "today yesterday this-week last-active-day" -- "$cur"))
        return 0
    fi

    local flags
    case "$command" in
        "" | today | yesterday | this-week | last-active-day) flags="--compact --full --limit --json" ;;
        recent) flags="--since --images --compact --full --limit --json" ;;
        range) flags="--from --to --compact --full --limit --json" ;;
        # search refuses flags it does not know, --json among them.
        search) flags="--app --since --from --to --latest --limit --compact --full --images --collapse --all-words" ;;
        entities) flags="--since --kind --limit --json" ;;
        # summary refuses flags it does not know.
        summary) flags="--since --from --to --idle --kind --limit --max-chars --format --json" ;;
        status | support-context | top) flags="--json" ;;
        *) flags="" ;;
    esac
    if [[ "$cur" == -* ]]; then
        COMPREPLY=($(compgen -W "$flags --help --version" -- "$cur"))
    fi
    return 0
}
complete -F _varnholt_query varnholt-query
