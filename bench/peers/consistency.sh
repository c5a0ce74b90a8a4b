#!/bin/sh
# consistency.sh dry_run|deletion CATALOG QUERY DISK_POOL: the comparison with the backup catalog as
# an operator would write it.
set -eu
task=$1 catalog=$2 query=$3 pool=$4
hours=$(($(date +%s) / 3600 + 1))
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The copies that a listing on standard input names: client, policy, time, copy.
listed() {
  awk -v pool="$pool" '
    $1 == "IMAGE" { client = $2; policy = $7; time = $14 }
    $1 == "FRAG" { split($16, media, ";"); if (media[4] == pool) print client, policy, time, $2 }' |
    LC_ALL=C sort -u
}

missing() { awk '{ print $1 "_" $3 "|" $1 "|" $2 "|" $4 "|" }'; }

find "$catalog/2" -mindepth 2 -maxdepth 2 -type d >"$work/dirs"
while read -r dir; do
  policy=${dir##*/}
  client=${dir%/*}
  client=${client##*/}
  echo "$client $policy" >>"$work/visited"
  sqlite3 -readonly "$dir/po.db" 'SELECT basename FROM po ORDER BY basename' |
    awk -v client="$client" -v policy="$policy" '
      substr($0, 1, length(client) + 1) == client "_" {
        split(substr($0, length(client) + 2), parts, "_")
        print client, policy, parts[1], substr(parts[2], 2)
      }' | LC_ALL=C sort -u >"$work/held"
  $query -client "$client" -policy "$policy" -hoursago "$hours" 2>&1 </dev/null |
    listed >"$work/listed"
  LC_ALL=C comm -13 "$work/held" "$work/listed" | missing
  LC_ALL=C comm -23 "$work/held" "$work/listed" >"$work/orphans"
  [ -s "$work/orphans" ] || continue
  awk '{ print "{client: " $1 ", policy: " $2 ", backup_time: " $3 ", copy_number: " $4 "}." }' \
    "$work/orphans"
  [ "$task" = dry_run ] ||
    awk -v quote="'" '{
      print "DELETE FROM po WHERE basename LIKE " quote $1 "_" $3 "_C" $4 "%" quote ";"
    }' "$work/orphans" | sqlite3 "$dir/po.db"
done <"$work/dirs"
$query -hoursago "$hours" 2>&1 | listed |
  awk -v visited="$work/visited" '
    BEGIN { while ((getline pair < visited) > 0) known[pair] = 1 }
    !(($1 " " $2) in known)' | missing
