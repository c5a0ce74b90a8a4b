#!/bin/sh
# Looks at the metadata and changes nothing: a scan, and then a dry run. Exit 1 when either failed, 2
# when the settings cannot be used.
set -eu

# Empty where the package is installed; that root where it was unpacked below another one.
root=${0%/usr/libexec/mdfixup/*}
mdfixup=$root/usr/sbin/mdfixup
settings=$root/etc/default/mdfixup

# The settings are read, not executed, and each value stays one word: no line of that file can give an
# option of its own and make a repair or a deletion of this. What is not understood is refused, since
# a disk pool that is misspelled or left out makes orphans of live images.
set --
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
      TVR_LOCATION=?*) set -- "$@" "--tvr_location=$value" ;;
      TVR_DISK_POOL=?*) set -- "$@" "--tvr_disk_pool=$value" ;;
      *)
        echo "$settings: not a setting: $line" >&2
        exit 2
        ;;
    esac
  done <"$settings"
fi

# Told to stop: waits for the run in hand, which is told as well, and begins no other. If this ended
# first, systemd would send what is left a second signal, and a run that gets two leaves its lock file
# behind.
trap 'exit 1' HUP INT TERM

status=0
"$mdfixup" --scan_client_name_case "$@" || status=1
"$mdfixup" --FORCE_DEDUPE_METADATA_CONSISTENCY --dry_run "$@" || status=1
exit $status
