#!/bin/sh
# repair.sh CATALOG: the case repair as an operator would write it.
set -eu
find "$1/2" -mindepth 2 -maxdepth 2 -type d | while read -r dir; do
  policy=${dir##*/}
  client=${dir%/*}
  root=${client%/*}
  client=${client##*/}
  sqlite3 -readonly "$dir/po.db" "SELECT DISTINCT substr(basename, 1, ${#client}) FROM po
    WHERE basename NOT GLOB '$client*'
      AND lower(substr(basename, 1, ${#client})) = lower('$client')" </dev/null |
    while read -r spelling; do
      mkdir -p "$root/$spelling/$policy"
      # One transaction covers both databases; a PO whose name another one has stays.
      sqlite3 "$root/$spelling/$policy/po.db" "
        CREATE TABLE IF NOT EXISTS po (basename TEXT NOT NULL UNIQUE, poid TEXT NOT NULL,
          size INTEGER NOT NULL, mtime INTEGER NOT NULL, record BLOB NOT NULL);
        PRAGMA user_version = 1;
        ATTACH '$dir/po.db' AS source;
        BEGIN IMMEDIATE;
        INSERT OR IGNORE INTO main.po SELECT * FROM source.po WHERE basename GLOB '$spelling*';
        DELETE FROM source.po WHERE basename GLOB '$spelling*' AND poid =
          (SELECT poid FROM main.po AS moved WHERE moved.basename = source.po.basename);
        COMMIT;" </dev/null
    done
done
