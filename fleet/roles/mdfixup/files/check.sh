#!/bin/bash
# check.sh REPORT COMMAND...: runs the check of a media server with COMMAND and writes its report to the file
# REPORT. If one of them fails, prints what failed in one line and exits with 1; without a report there is no
# file.
set -uo pipefail
report=$1
shift
rm -f "$report"
unit=mdfixup-check.service

property() { systemctl show --property "$1" --value $unit; }
ended_before=
[ "${1##*/}" != systemctl ] || ended_before=$(property ExecMainExitTimestampMonotonic)

# Only the last line is kept: findings may be millions of lines.
said=$("$@" 2>&1 | tail -n 1)
status=$?
# systemctl exits with 1 whatever the service exited with. The status on record is that of this check only if
# the service ended since then, and by itself, which is code 1: no signal ended it.
if [ $status -ne 0 ] && [ -n "$ended_before" ] && [ "$(property ExecMainCode)" = 1 ] &&
  [ "$(property ExecMainExitTimestampMonotonic)" != "$ended_before" ]; then
  status=$(property ExecMainStatus)
  line=$(journalctl --output cat --lines 1 "_SYSTEMD_INVOCATION_ID=$(property InvocationID)")
  # A check that could not begin wrote no line.
  said=${line:-$said}
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
