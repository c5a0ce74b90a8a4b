#!/bin/sh
# The weekly check: removes old records of runs, then runs a scan and a dry run, which change no metadata.
# At the end it writes the metrics, and a line that says what was found and which report to read. Exits with
# 1 if a step fails, with 2 if the settings are invalid, and with 3 if the settings make findings a failure.
set -eu

# Empty, or the directory below which everything is installed in place of /.
root=${0%@CMAKE_INSTALL_FULL_LIBEXECDIR@/mdfixup/*}
mdfixup=$root@CMAKE_INSTALL_FULL_SBINDIR@/mdfixup
report=$root@CMAKE_INSTALL_FULL_BINDIR@/mdfixup-report
settings=$root@CMAKE_INSTALL_FULL_SYSCONFDIR@/default/mdfixup

# The settings are read, not executed, and each value stays one word. So no line can add an option that
# turns the check into a repair or a deletion. An unknown line is an error, because with a misspelled or
# missing disk pool live images count as orphans.
set --
keep_days=90
one_listing=
metrics_file=
fail_on_findings=no
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
      FAIL_ON_FINDINGS=yes | FAIL_ON_FINDINGS=no) fail_on_findings=$value ;;
      FAIL_ON_FINDINGS=*)
        echo "$settings: not yes or no: $line" >&2
        exit 2
        ;;
      METRICS_FILE=/*) metrics_file=$value ;;
      METRICS_FILE=*)
        echo "$settings: not a full path: $line" >&2
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

failed=
fail() { # WHAT
  failed="$failed${failed:+, }$1"
}

# Prints the value of a metric, or nothing.
metric() { # NAME{LABEL}
  echo "$metrics" | awk -v name="$1" '$1 == name { print $2 }'
}

# Whether the newest run of a task on record is one of this check.
is_new() { # TASK
  start=$(metric "mdfixup_run_start_timestamp_seconds{task=\"$1\"}")
  [ "${start%.*}" -ge "$started" ] 2>/dev/null
}

# Adds a metric of one of this check's runs to what was found, if it is not 0.
add_finding() { # METRIC TASK WORDS
  is_new "$2" && [ "$(metric "mdfixup_run_refused{task=\"$2\"}")" = 0 ] || return 0
  count=$(metric "$1{task=\"$2\"}")
  [ "${count:-0}" = 0 ] || found="$found${found:+, }$count $3"
}

# The ids of this check's runs. An id begins with the second of the run's start.
ids_of_runs() {
  [ -z "$log_dir" ] || [ ! -d "$runs" ] || (cd "$runs" && ls) |
    awk -F '[-.]' -v started="$started" '/^[0-9]+-[0-9]+\.db$/ && $1 >= started {
      printf " %s-%s", $1, $2 }'
}

# The line is a warning in the journal if something is wrong. There each line may begin with its priority.
say() { # PRIORITY TEXT
  prefix=
  [ "${JOURNAL_STREAM-}" != "$(stat -Lc %d:%i /dev/fd/2)" ] || prefix="<$1>"
  echo "${prefix}mdfixup check: $2"
}

# The collector's file is written also after a failure, and its own failure is one. The status 2 means that
# an old record cannot be read.
sum_up() {
  metrics=$("$report" --openmetrics) || [ $? = 2 ] || fail 'reading the records'
  [ -z "$metrics_file" ] || "$report" --openmetrics "$metrics_file" || [ $? = 2 ] ||
    fail "writing $metrics_file"
  # Without a new record, what was found is not known.
  [ -n "$failed" ] || { is_new scan && is_new dry_run; } || fail 'reading the new records'
  found=
  add_finding mdfixup_directories_with_issues scan 'policy directories with a client name in another letter case'
  add_finding mdfixup_orphan_copies dry_run 'orphan copies'
  add_finding mdfixup_missing_copies dry_run 'missing copies'
  ids=$(ids_of_runs)
  reports=${ids:+ Read: mdfixup-report$ids}
  if [ -n "$failed" ]; then
    say 3 "failed: $failed. Found: ${found:-nothing else}.${reports:- No run left a record: read the lines above.}"
  elif [ -n "$found" ]; then
    say 4 "found: $found.$reports"
  else
    say 6 "found nothing.$reports"
  fi
}

# On a signal, waits for the current run, which gets the signal too, and starts no other. If this script
# ended first, systemd would send the run a second signal, after which the run leaves its lock file.
stopped=
trap 'stopped=1' HUP INT TERM
step() { # NAME COMMAND...
  name=$1
  shift
  [ -z "$stopped" ] || return 0
  "$@" || fail "$name"
}

started=$(date +%s)
config=$(ini_value "${KSREGISTRY:-/etc/ksregistry.cfg}" StoragePoolAuthority ConfigFilePath) || true
log_dir=$(ini_value "$config" Storage LogDir) || true
runs=$log_dir/mdfixup/runs
step 'removing old records' remove_old_records
step 'the scan' "$mdfixup" --scan_client_name_case "$@"
step 'the dry run' \
  "$mdfixup" --FORCE_DEDUPE_METADATA_CONSISTENCY --dry_run ${one_listing:+"$one_listing"} "$@"
[ -z "$stopped" ] || fail 'the check was stopped'
sum_up
[ -z "$failed" ] || exit 1
[ -z "$found" ] || [ "$fail_on_findings" = no ] || exit 3
