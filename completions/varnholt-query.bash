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

    local commands="today yesterday this-week last-active-day recent range search entities summary timesheet support-context status top help version"
    local value_flags=" --limit --since --from --to --app --kind --match --entity --week-start --only --category --categories --format "

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
        --week-start)
            COMPREPLY=($(compgen -W "monday tuesday wednesday thursday friday saturday sunday" -- "$cur"))
            return 0
            ;;
        --format)
            # CSV is a timesheet's alone.
            if [[ " ${COMP_WORDS[*]} " == *" timesheet "* ]]; then
                COMPREPLY=($(compgen -W "json csv html" -- "$cur"))
            else
                COMPREPLY=($(compgen -W "json html" -- "$cur"))
            fi
            return 0
            ;;
        --categories)
            COMPREPLY=($(compgen -f -- "$cur"))
            return 0
            ;;
        --only)
            COMPREPLY=($(compgen -W "sessions applications entities days coverage" -- "$cur"))
            return 0
            ;;
        --limit | --from | --to | --app | --max-chars | --match | --entity | --category)
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

    # summary's and timesheet's one positional word is the period.
    if [[ ("$command" == summary || "$command" == timesheet) && "$cur" != -* ]]; then
        COMPREPLY=($(compgen -W "today yesterday this-week last-week this-month last-month last-active-day" -- "$cur"))
        return 0
    fi

    local flags
    case "$command" in
        "" | today | yesterday | last-active-day) flags="--compact --full --limit --json" ;;
        this-week) flags="--week-start --compact --full --limit --json" ;;
        recent) flags="--since --images --compact --full --limit --json" ;;
        range) flags="--from --to --compact --full --limit --json" ;;
        # search refuses flags it does not know, --json among them.
        search) flags="--app --since --from --to --latest --limit --compact --full --images --collapse --all-words" ;;
        entities) flags="--since --kind --limit --json" ;;
        # summary refuses flags it does not know.
        summary) flags="--since --from --to --week-start --match --app --entity --only --idle --kind --limit --max-chars --format --json" ;;
        # timesheet too.
        timesheet) flags="--category --categories --since --from --to --week-start --idle --max-chars --format --json" ;;
        status | support-context | top) flags="--json" ;;
        *) flags="" ;;
    esac
    if [[ "$cur" == -* ]]; then
        COMPREPLY=($(compgen -W "$flags --help --version" -- "$cur"))
    fi
    return 0
}
complete -F _varnholt_query varnholt-query
