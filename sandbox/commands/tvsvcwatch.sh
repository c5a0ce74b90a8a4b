#!/bin/sh
# Starts the service monitor, or with -terminate ends it. The monitor is a process that sleeps.
run=${0%/*}/../../run
if [ "$1" = -terminate ]; then
  [ ! -f "$run/tvsvcwatch.pid" ] || kill "$(cat "$run/tvsvcwatch.pid")" 2>/dev/null
  rm -f "$run/tvsvcwatch.pid"
  exit 0
fi
mkdir -p "$run"
setsid sleep 1000000 </dev/null >/dev/null 2>&1 &
echo $! >"$run/tvsvcwatch.pid"
