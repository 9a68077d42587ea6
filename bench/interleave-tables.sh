#!/usr/bin/env bash
# Copies a recorder database into a new file the way a recorder fills one:
# the schema (and its version), its indexes and the full-text triggers exist
# from the start, and the rows arrive in slices of every table in turn, so
# that index pages lie scattered among table pages instead of in one stretch
# each (as they do in a generated database, whose indexes are built after
# its rows).
#
#   bench/interleave-tables.sh SOURCE TARGET [SLICES]
#
# SLICES (default 4000) is how many turns the copy takes; each copies the
# next share of frames, observations and entities in rowid order. The full-
# text index is filled by the recorder's own insert trigger. SOURCE is only
# read; TARGET must not exist. Needs the sqlite3 shell.
set -euo pipefail

if [[ $# -lt 2 || $# -gt 3 ]]; then
    sed -n '2,/^set -euo/p' "$0" | sed '$d' | sed 's/^# \{0,1\}//' >&2
    exit 2
fi
SOURCE=$1
TARGET=$2
SLICES=${3:-4000}

[[ -f $SOURCE ]] || { echo "interleave-tables: no database at $SOURCE" >&2; exit 2; }
[[ ! -e $TARGET ]] || { echo "interleave-tables: $TARGET exists already" >&2; exit 2; }
[[ $SLICES =~ ^[1-9][0-9]*$ ]] || { echo "interleave-tables: SLICES must be a positive number" >&2; exit 2; }

# The full-text index's shadow tables are made by its CREATE VIRTUAL TABLE;
# creating them by hand first would give them another layout.
sqlite3 -readonly "$SOURCE" .schema \
    | grep -v "^CREATE TABLE IF NOT EXISTS 'observations_fts_" \
    | sqlite3 "$TARGET"

# The schema version lives in the header, not in the schema text.
version=$(sqlite3 -readonly "$SOURCE" "PRAGMA user_version")

count() { sqlite3 -readonly "$SOURCE" "SELECT coalesce(max(rowid), 0) FROM $1"; }
frames=$(count frames)
observations=$(count observations)
entities=$(count observation_entities)

{
    echo "PRAGMA journal_mode = WAL;"
    echo "PRAGMA user_version = $version;"
    echo "ATTACH DATABASE 'file:$SOURCE?mode=ro' AS source;"
    for ((slice = 0; slice < SLICES; slice++)); do
        for table in frames:$frames observations:$observations observation_entities:$entities; do
            name=${table%%:*}
            last=${table#*:}
            from=$((last * slice / SLICES))
            to=$((last * (slice + 1) / SLICES))
            echo "INSERT INTO main.$name SELECT * FROM source.$name WHERE rowid > $from AND rowid <= $to ORDER BY rowid;"
        done
    done
    echo "DETACH DATABASE source;"
    echo "PRAGMA wal_checkpoint(TRUNCATE);"
} | sqlite3 -bail -cmd ".timeout 5000" "file:$TARGET?mode=rwc" > /dev/null

echo "interleave-tables: $TARGET: $frames frames, $observations observations, $entities entities in $SLICES slices"
