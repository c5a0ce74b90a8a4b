#!/bin/sh
# The weekly check: removes old records of runs, then runs a scan and a dry run, which change no metadata.
# Exits with 1 if a step fails, and with 2 if the settings are invalid.
set -eu

# Empty, or the directory below which everything is installed in place of /.
root=${0%@CMAKE_INSTALL_FULL_LIBEXECDIR@/mdfixup/*}
mdfixup=$root@CMAKE_INSTALL_FULL_SBINDIR@/mdfixup
settings=$root@CMAKE_INSTALL_FULL_SYSCONFDIR@/default/mdfixup

# The settings are read, not executed, and each value stays one word. So no line can add an option that
# turns the check into a repair or a deletion. An unknown line is an error, because with a misspelled or
# missing disk pool live images count as orphans.
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

# Prints the value of an entry as mdfixup reads it, or nothing. The runs report errors in these files.
ini_value() { # FILE SECTION ENTRY
  b='[[:space:]]*'
  [ ! -f "$1" ] || LC_ALL=C sed -n \
    "/^$b\\[$b$2$b\\]/,/^$b\\[/s/^$b$3$b=$b\\(.*[^[:space:]]\\)$b\$/\\1/p" <"$1"
}

# Finds the files of a record, with those that SQLite or a killed run left beside it.
record_files() { # RECORD ACTION...: RECORD is an extended regular expression
  files_of=$1
  shift
  LC_ALL=C find "$runs" -maxdepth 1 -ignore_readdir_race -type f -regextype posix-extended \
    -regex ".*/$files_of\.db(\.new)?(-journal|-wal|-shm)?" "$@"
}

# A record has the age of its newest file. It is kept if a process has its run's number: a run that waits
# for a query does not write to its record.
remove_old_records() {
  config=$(ini_value "${KSREGISTRY:-/etc/ksregistry.cfg}" StoragePoolAuthority ConfigFilePath)
  log_dir=$(ini_value "$config" Storage LogDir)
  runs=$log_dir/mdfixup/runs
  [ -n "$log_dir" ] && [ -d "$runs" ] || return 0
  files=$(record_files '[0-9]+-[0-9]+' -printf '%f %T@\n') || return 1
  # In awk, because a large number of days would overflow the shell's arithmetic.
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

# On a signal, waits for the current run, which gets the signal too, and starts no other. If this script
# ended first, systemd would send the run a second signal, after which the run leaves its lock file.
trap 'exit 1' HUP INT TERM

status=0
remove_old_records || status=1
"$mdfixup" --scan_client_name_case "$@" || status=1
"$mdfixup" --FORCE_DEDUPE_METADATA_CONSISTENCY --dry_run ${one_listing:+"$one_listing"} "$@" || status=1
exit $status
