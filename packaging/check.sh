#!/bin/sh
# Removes old records of runs, then looks at the metadata and changes nothing: a scan, and then a dry
# run. Exit 1 when one of these failed, 2 when the settings cannot be used.
set -eu

# Empty, or the directory that stands for / if all was installed below another one.
root=${0%@CMAKE_INSTALL_FULL_LIBEXECDIR@/mdfixup/*}
mdfixup=$root@CMAKE_INSTALL_FULL_SBINDIR@/mdfixup
settings=$root@CMAKE_INSTALL_FULL_SYSCONFDIR@/default/mdfixup

# The settings are read, not executed, and each value stays one word: no line of that file can give an
# option of its own and make a repair or a deletion of this. What is not understood is refused, since
# a disk pool that is misspelled or left out makes orphans of live images.
set --
keep_days=90
one_listing=
if [ -e "$settings" ] || [ -L "$settings" ]; then
  if [ ! -f "$settings" ]; then
    echo "$settings: not a file" >&2
    exit 2
  fi
  while IFS= read -r line || [ -n "$line" ]; do
    value=${line#*=}
    case $line in
      '' | '#'*) ;;
      *[\"\'\\]* | *[[:space:]] | *[[:space:]]'#'*)
        echo "$settings: no quotes, backslashes, blanks at the end or comments behind: $line" >&2
        exit 2
        ;;
      KSREGISTRY=?*) export KSREGISTRY="$value" ;;
      NUM_THREADS=*[!0-9]*)
        echo "$settings: not a number: $line" >&2
        exit 2
        ;;
      NUM_THREADS=?*) set -- "$@" "--num_threads=$value" ;;
      KEEP_DAYS= | KEEP_DAYS=0* | KEEP_DAYS=*[!0-9]*)
        echo "$settings: not a whole number from 1 up: $line" >&2
        exit 2
        ;;
      KEEP_DAYS=*) keep_days=$value ;;
      ONE_LISTING=yes) one_listing=--one_listing ;;
      ONE_LISTING=no) one_listing= ;;
      ONE_LISTING=*)
        echo "$settings: not yes or no: $line" >&2
        exit 2
        ;;
      TVR_LOCATION=?*) set -- "$@" "--tvr_location=$value" ;;
      TVR_DISK_POOL=?*) set -- "$@" "--tvr_disk_pool=$value" ;;
      *)
        echo "$settings: not a setting: $line" >&2
        exit 2
        ;;
    esac
  done <"$settings"
fi

# The value of an entry, as mdfixup reads it; nothing if there is none. What is wrong with these files,
# the runs report.
ini_value() { # FILE SECTION ENTRY
  b='[[:space:]]*'
  [ ! -f "$1" ] || LC_ALL=C sed -n \
    "/^$b\\[$b$2$b\\]/,/^$b\\[/s/^$b$3$b=$b\\(.*[^[:space:]]\\)$b\$/\\1/p" <"$1"
}

# The files of a record, with those that SQLite or a killed run left beside it; no links, no folders.
record_files() { # RECORD ACTION...: the first is an extended regular expression
  files_of=$1
  shift
  LC_ALL=C find "$runs" -maxdepth 1 -ignore_readdir_race -type f -regextype posix-extended \
    -regex ".*/$files_of\.db(\.new)?(-journal|-wal|-shm)?" "$@"
}

# A record is as old as the newest of its files. A run that waits for a query writes nothing, so its
# process keeps it as well, or any that has its number by now.
remove_old_records() {
  config=$(ini_value "${KSREGISTRY:-/etc/ksregistry.cfg}" StoragePoolAuthority ConfigFilePath)
  log_dir=$(ini_value "$config" Storage LogDir)
  runs=$log_dir/mdfixup/runs
  [ -n "$log_dir" ] && [ -d "$runs" ] || return 0
  files=$(record_files '[0-9]+-[0-9]+' -printf '%f %T@\n') || return 1
  # Not the shell's arithmetic, in which a large number of days would overflow.
  old=$(echo "$files" | awk -v now="$(date +%s)" -v days="$keep_days" '
    NF { sub(/\..*/, "", $1); if (newest[$1] < $2 + 0) newest[$1] = $2 + 0 }
    END { for (record in newest) if (newest[record] < now - days * 86400) print record }')
  removed=0 result=0
  for record in $old; do
    [ ! -e "/proc/${record#*-}" ] || continue
    if record_files "$record" -delete; then
      removed=$((removed + 1))
    else
      result=1
    fi
  done
  echo "Records older than $keep_days days removed from $runs: $removed"
  return $result
}

# Told to stop: waits for the run in hand, which is told as well, and begins no other. If this ended
# first, systemd would send what is left a second signal, and a run that gets two leaves its lock file
# behind.
trap 'exit 1' HUP INT TERM

status=0
remove_old_records || status=1
"$mdfixup" --scan_client_name_case "$@" || status=1
"$mdfixup" --FORCE_DEDUPE_METADATA_CONSISTENCY --dry_run ${one_listing:+"$one_listing"} "$@" || status=1
exit $status
