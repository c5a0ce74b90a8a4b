#!/bin/sh
# Starts the service monitor, or with -terminate ends it. The monitor is a process that sleeps.
run=${0%/*}/../../run
pid=$(cat "$run/tvsvcwatch.pid" 2>/dev/null)
if [ "$1" = -terminate ]; then
  [ -z "$pid" ] || kill "$pid" 2>/dev/null
  rm -f "$run/tvsvcwatch.pid"
elif [ -z "$pid" ] || ! kill -0 "$pid" 2>/dev/null; then
  mkdir -p "$run"
  setsid sleep 1000000 </dev/null >/dev/null 2>&1 &
  echo $! >"$run/tvsvcwatch.pid"
fi
exit 0
