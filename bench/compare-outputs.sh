#!/usr/bin/env bash
# Runs two builds of varnholt-query over the same commands and databases and
# compares what they print, byte for byte, and how they exit.
#
#   bench/compare-outputs.sh OLD_BINARY NEW_BINARY [options]
#
# Options (any number, in any order):
#   --home DIR CLOCK      a home holding .varnholt/varnholt.db, asked at CLOCK
#                         ("YYYY-MM-DD hh:mm:ss", UTC, frozen by libfaketime)
#   --random FIRST LAST   also the random recorder databases of these seeds
#                         (tools/random_db), each asked at the end of its
#                         activity; needs --random-db
#   --random-db PROGRAM   the varnholt-random-db executable
#   --sample DAYS SEED    also a sample database (tools/sample_db) of DAYS days
#                         ending at the benchmark's clock; needs --sample-db
#   --sample-db PROGRAM   the varnholt-sample-db executable
#
# Every command runs under a home of its own through nss_wrapper, with
# TZ=UTC, LANG=en_US.UTF-8 and the frozen clock, as the benchmark runs them.
# The version line names the build's commit and is expected to differ; it is
# not compared. A build older than a command (summary) differs on it, as on
# the help texts that list it. Databases are only read (the generated ones live in a
# temporary directory that is removed at the end). Exits 1 when any output
# differs, listing each difference.
set -euo pipefail

if [[ $# -lt 2 ]]; then
    sed -n '2,/^set -euo/p' "$0" | sed '$d' | sed 's/^# \{0,1\}//' >&2
    exit 2
fi
OLD=$1
NEW=$2
shift 2

NSS_WRAPPER=libnss_wrapper.so
FAKETIME_LIBRARY=/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1
BENCH_CLOCK="2026-04-01 16:00:00"

WORK=$(mktemp -d "${TMPDIR:-/tmp}/varnholt-compare-XXXXXX")
trap 'rm -rf "$WORK"' EXIT

homes=()
clocks=()
random_db=""
sample_db=""
random_range=()
samples=()
while [[ $# -gt 0 ]]; do
    case $1 in
        --home) homes+=("$2"); clocks+=("$3"); shift 3 ;;
        --random) random_range=("$2" "$3"); shift 3 ;;
        --random-db) random_db=$2; shift 2 ;;
        --sample) samples+=("$2:$3"); shift 3 ;;
        --sample-db) sample_db=$2; shift 2 ;;
        *) echo "compare-outputs: unknown option $1" >&2; exit 2 ;;
    esac
done

if [[ ${#random_range[@]} -eq 2 ]]; then
    [[ -n $random_db ]] || { echo "compare-outputs: --random needs --random-db" >&2; exit 2; }
    for ((seed = random_range[0]; seed <= random_range[1]; seed++)); do
        home=$WORK/random-$seed
        mkdir -p "$home/.varnholt"
        summary=$("$random_db" "$seed" "$home/.varnholt/varnholt.db")
        end=$(sed -E 's/.* activity from -?[0-9]+ to (-?[0-9]+).*/\1/' <<< "$summary")
        homes+=("$home")
        clocks+=("$(date -u -d "@$end" '+%Y-%m-%d %H:%M:%S')")
    done
fi
for sample in "${samples[@]}"; do
    [[ -n $sample_db ]] || { echo "compare-outputs: --sample needs --sample-db" >&2; exit 2; }
    home=$WORK/sample-${sample/:/-}
    mkdir -p "$home/.varnholt"
    "$sample_db" --days "${sample%%:*}" --seed "${sample##*:}" --end "$(date -u -d "$BENCH_CLOCK" +%s)" \
        "$home/.varnholt/varnholt.db" > /dev/null
    homes+=("$home")
    clocks+=("$BENCH_CLOCK")
done

# Every command and the flags that change what it reads or prints.
commands=(
    ""
    "today" "today --images" "today --compact" "today --full --limit 3"
    "yesterday" "this-week" "last-active-day"
    "recent --since 2h" "recent --since 30m" "recent --since 1d" "recent --since 1w" "recent --since 400d"
    "range --from 2026-03-25 --to 2026-03-31" "range --from 2025-04-02 --to 2026-04-01"
    "range --from 2026-04-01 --to 2026-04-01" "range --from 2026-06-01 --to 2026-06-30"
    "range --from 1990-01-01 --to 2100-12-31"
    "search error" "search error --latest" "search error --since 30d" "search error --since 2h"
    "search error --app Slack" "search error --app slack --latest" "search kubernetes --since 30d"
    "search kubernetes --from 2025-04-02 --to 2026-04-01" "search invoice --to 2026-03-01"
    "search error deploy --collapse" "search error --limit 500" "search error --limit 0 --compact"
    "search error --images --full" 'search "\"working on\""' "search nothing-matches-this"
    'search \"unbalanced' "search budget --since 1w --latest"
    "entities" "entities --since 1w" "entities --since 1w --kind app" "entities --kind App"
    "entities --since 1d --limit 3" "entities --since 400d --limit 500" "entities --kind nothing"
    "status --json" "status" "support-context"
    "summary" "summary yesterday" "summary this-week" "summary last-active-day"
    "summary --since 30d --idle 10m" "summary --from 2026-03-25 --to 2026-03-31 --kind app --limit 3"
    "summary --from 2025-04-02 --to 2026-04-01 --max-chars 3000" "summary --max-chars 100"
    "help" "--help --json" "range --from 2026-04-02 --to 2026-04-01" "recent --since 0h"
)

# The password database that gives `home` as the user's home, in `dir`.
enter_home() {  # dir home
    printf 'bench:x:%s:%s:Compare:%s:/bin/sh\n' "$(id -u)" "$(id -g)" "$2" > "$1/passwd"
    printf 'bench:x:%s:\n' "$(id -g)" > "$1/group"
}

run() {  # dir binary clock words...
    local dir=$1 binary=$2 clock=$3
    shift 3
    env -i NSS_WRAPPER_PASSWD="$dir/passwd" NSS_WRAPPER_GROUP="$dir/group" HOME=/nonexistent-home \
        PATH=/usr/bin:/bin TZ=UTC LANG=en_US.UTF-8 FAKETIME="$clock" FAKETIME_NO_CACHE=1 \
        LD_PRELOAD="$NSS_WRAPPER $FAKETIME_LIBRARY" "$binary" "$@" < /dev/null
}

# Every command on the home numbered `i`, in a directory of its own: its
# report in report, the number of differences in differences.
compare_home() {  # i
    local i=$1 home=${homes[$1]} clock=${clocks[$1]} dir=$WORK/compare-$1 found=0
    mkdir -p "$dir"
    enter_home "$dir" "$home"
    for command in "${commands[@]}"; do
        eval "words=($command)"
        old_status=0
        new_status=0
        # Both at once: they only read.
        run "$dir" "$OLD" "$clock" "${words[@]}" > "$dir/old.out" 2> /dev/null &
        old_run=$!
        run "$dir" "$NEW" "$clock" "${words[@]}" > "$dir/new.out" 2> /dev/null || new_status=$?
        wait "$old_run" || old_status=$?
        if [[ $old_status -ne $new_status ]] || ! cmp -s "$dir/old.out" "$dir/new.out"; then
            found=$((found + 1))
            echo "DIFFERENT: $home at $clock: varnholt-query $command (exit $old_status vs $new_status)"
            diff <(head -c 20000 "$dir/old.out") <(head -c 20000 "$dir/new.out") | head -20 || true
        fi
    done > "$dir/report"
    echo "compared ${#commands[@]} commands on $home at $clock" >> "$dir/report"
    echo "$found" > "$dir/differences"
}

# Two homes at a time: one build is often slower than the other (a sanitized
# one several times), and a second home keeps the core busy that the quicker
# build leaves idle. Reports are printed in the homes' order.
# A home whose comparison broke off leaves no count of differences, which
# the loop below reports.
for i in "${!homes[@]}"; do
    while [[ $(jobs -rp | wc -l) -ge 2 ]]; do wait -n || true; done
    compare_home "$i" &
done
wait || true
compared=0
differences=0
for i in "${!homes[@]}"; do
    [[ -f $WORK/compare-$i/differences ]] || { echo "compare-outputs: no report for ${homes[$i]}" >&2; exit 1; }
    cat "$WORK/compare-$i/report"
    compared=$((compared + ${#commands[@]}))
    differences=$((differences + $(cat "$WORK/compare-$i/differences")))
done
echo "$compared runs compared, $differences different"
[[ $differences -eq 0 ]]
