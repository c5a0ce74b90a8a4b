#!/bin/sh
# scan.sh CATALOG: the case scan as an operator would write it.
find "$1/2" -mindepth 2 -maxdepth 2 -type d | while read -r dir; do
  client=${dir%/*}
  client=${client##*/}
  sqlite3 -readonly "$dir/po.db" 'SELECT basename FROM po ORDER BY basename' |
    awk -v client="$client" '
      BEGIN { length_of_client = length(client); folded = tolower(client) }
      substr($0, 1, length_of_client) != client &&
        tolower(substr($0, 1, length_of_client)) == folded { found = 1 }
      END { if (found) print "Client " client " has name case-sensitivity issues." }'
done
