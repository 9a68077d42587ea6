#!/usr/bin/env bash
# Checks bench/interleave-tables.sh on a small sample database: the copy has
# every row, the schema version and a full-text index that finds what the
# source's finds, its index pages lie in many stretches where the source's
# lie in one, and a target that exists already is refused and left alone.
#
# Usage: check-interleave-tables.sh SAMPLE_DB_PROGRAM SOURCE_DIR WORK_DIR
set -euo pipefail
sample_db="$1"
source_dir="$2"
work="$3"
failures=0

fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

rm -rf "$work"
mkdir -p "$work"
"$sample_db" --days 2 --seed 5 --end 1775059200 "$work/source.db" > /dev/null
"$source_dir/bench/interleave-tables.sh" "$work/source.db" "$work/target.db" 40 > /dev/null

ask() { sqlite3 -readonly "$1" "$2"; }

for table in frames observations observation_entities; do
  source_rows=$(ask "$work/source.db" "SELECT count(*) FROM $table")
  target_rows=$(ask "$work/target.db" "SELECT count(*) FROM $table")
  [[ $source_rows -gt 0 && $source_rows == "$target_rows" ]] \
    || fail "$table: $source_rows rows in the source, $target_rows in the copy"
  # Every row, value for value (the rowids may differ).
  differing=$(sqlite3 -readonly "$work/target.db" \
    "ATTACH 'file:$work/source.db?mode=ro' AS source;
     SELECT count(*) FROM (SELECT * FROM source.$table EXCEPT SELECT * FROM main.$table)")
  [[ $differing == 0 ]] || fail "$table: $differing rows of the source are not in the copy"
done

[[ $(ask "$work/source.db" "PRAGMA user_version") == $(ask "$work/target.db" "PRAGMA user_version") ]] \
  || fail "the copy has another schema version"
[[ $(ask "$work/target.db" "PRAGMA integrity_check") == ok ]] || fail "the copy is not intact"

for word in error meeting slack; do
  source_hits=$(ask "$work/source.db" "SELECT count(*) FROM observations_fts WHERE observations_fts MATCH '$word'")
  target_hits=$(ask "$work/target.db" "SELECT count(*) FROM observations_fts WHERE observations_fts MATCH '$word'")
  [[ $source_hits == "$target_hits" ]] \
    || fail "full-text '$word': $source_hits in the source, $target_hits in the copy"
done

# Runs of consecutive pages that hold the frames' time index.
stretches() {
  ask "$1" "WITH pages AS (SELECT pageno, lag(pageno) OVER (ORDER BY pageno) AS previous
                            FROM dbstat WHERE name = 'idx_frames_timestamp')
            SELECT count(*) FROM pages WHERE previous IS NULL OR pageno <> previous + 1"
}
source_stretches=$(stretches "$work/source.db")
target_stretches=$(stretches "$work/target.db")
[[ $source_stretches -le 2 && $target_stretches -ge 20 ]] \
  || fail "the time index lies in $source_stretches stretches in the source and $target_stretches in the copy"

before=$(cksum < "$work/target.db")
if "$source_dir/bench/interleave-tables.sh" "$work/source.db" "$work/target.db" 2> /dev/null; then
  fail "an existing target was accepted"
fi
[[ $(cksum < "$work/target.db") == "$before" ]] || fail "an existing target was changed"

if [[ $failures -gt 0 ]]; then
  echo "$failures failures" >&2
  exit 1
fi
echo "interleave-tables: copy complete, index in $target_stretches stretches (source: $source_stretches)"
