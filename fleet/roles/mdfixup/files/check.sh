#!/bin/bash
# check.sh REPORT COMMAND...: runs the check of a media server with COMMAND and writes its report to the file
# REPORT. If one of them fails, prints what failed in one line and exits with 1; without a report there is no
# file.
set -uo pipefail
report=$1
shift
rm -f "$report"
unit=mdfixup-check.service

main_process() { systemctl show --property "ExecMain$1" --value $unit; }
by_systemd=
[ "${1##*/}" != systemctl ] || by_systemd=yes
ended_before=${by_systemd:+$(main_process ExitTimestampMonotonic)}

# Only the last line is kept: findings may be millions of lines.
said=$("$@" 2>&1 | tail -n 1)
status=$?
# systemctl exits with 1 whatever the service exited with. If the service did not run, or a signal ended it,
# the status on record is not that of this check.
if [ -n "$by_systemd" ] && [ $status -ne 0 ] &&
  [ "$(main_process ExitTimestampMonotonic)" != "$ended_before" ] && [ "$(main_process Code)" = 1 ]; then
  status=$(main_process Status)
  said=$(journalctl --output cat --lines 1 _SYSTEMD_UNIT=$unit)
fi
failures=
# With 3 the check itself went well, and found something.
[ "$status" = 0 ] || [ "$status" = 3 ] || failures="the check exited with $status: $said"

registry=$(sed -n 's/^KSREGISTRY=//p' /etc/default/mdfixup 2>/dev/null | tail -n 1)
[ -z "$registry" ] || export KSREGISTRY="$registry"
# Reports hold client names. The check itself keeps the umask: others read the metrics.
umask 077
said=$(mdfixup-report --json 2>&1 >"$report" | tail -n 1)
status=$?
# With 2 the report says what could not be read.
if [ $status -ne 0 ] && [ $status -ne 2 ]; then
  rm -f "$report"
  failures="${failures:+$failures; }mdfixup-report exited with $status: $said"
fi
[ -n "$failures" ] || exit 0
iconv -c -f UTF-8 -t UTF-8 <<<"$failures"
exit 1
