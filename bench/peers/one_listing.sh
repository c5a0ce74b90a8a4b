#!/bin/sh
# one_listing.sh dry_run|deletion CATALOG QUERY DISK_POOL: the comparison with one listing of
# the whole backup catalog, as an operator would write it. One sqlite3 opens all databases in turn,
# because starting one for each takes longer than reading them.
set -eu
export LC_ALL=C
task=$1 catalog=$2 query=$3 pool=$4
hours=$(($(date +%s) / 3600 + 1))
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A pipeline has only the exit status of its last command; a failure of the others is noted in a file.
stop_after_failure() {
  [ ! -e "$work/failed" ] || {
    echo "one_listing.sh: $(cat "$work/failed") failed" >&2
    exit 1
  }
}

# The copies in the databases: client, policy, time, copy. The names of one copy are adjacent.
find "$catalog/2" -mindepth 2 -maxdepth 2 -type d | awk -F / '{
  print ".open --readonly \"" $0 "/po.db\""
  print ".print / " $(NF - 1) " " $NF
  print "SELECT basename FROM po ORDER BY basename;"
}' >"$work/read"
{ sqlite3 -bail <"$work/read" || echo sqlite3 >"$work/failed"; } | awk '
  /^\/ / { prefix = last = $2 "_"; start = $2 " " $3; skipped = length(prefix) + 1; next }
  last != prefix && index($0, last) == 1 { next }
  index($0, prefix) == 1 {
    split(substr($0, skipped), parts, "_")
    print start, parts[1], substr(parts[2], 2)
    last = prefix parts[1] "_" parts[2] "_"
  }' | sort -u >"$work/held"
stop_after_failure

# The copies in the backup catalog. cut leaves awk only the fields that it needs, because splitting
# takes longest.
{ $query -hoursago "$hours" 2>&1 || [ $? -eq 227 ] || echo "the query" >"$work/failed"; } |
  cut -d ' ' -f 1,2,7,14,16 | awk -v pool="$pool" '
    $1 == "IMAGE" { image = $2 " " $3 " " $4; next }
    $1 == "FRAG" { split($5, media, ";"); if (media[4] == pool) print image, $2 }' |
  sort -u >"$work/listed"
stop_after_failure

# comm prints what only the backup catalog has after a tab.
comm -3 "$work/held" "$work/listed" | awk -v root="$catalog/2" -v script="$work/delete" \
  -v quote="'" '
  BEGIN { print "BEGIN;" >script }
  /^\t/ { print $1 "_" $3 "|" $1 "|" $2 "|" $4 "|"; next }
  {
    print "{client: " $1 ", policy: " $2 ", backup_time: " $3 ", copy_number: " $4 "}."
    dir = root "/" $1 "/" $2
    if (dir != last) print "COMMIT;\n.open \"" dir "/po.db\"\nBEGIN;" >script
    last = dir
    print "DELETE FROM po WHERE basename LIKE " quote $1 "_" $3 "_C" $4 "%" quote ";" >script
  }
  END { print "COMMIT;" >script }'
[ "$task" = dry_run ] || sqlite3 -bail <"$work/delete"
