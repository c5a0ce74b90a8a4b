#!/bin/sh
# Starts the service monitor, or with -terminate ends it. The monitor is a process that sleeps.
run=${0%/*}/../../run
pid=$(cat "$run/tvsvcwatch.pid" 2>/dev/null)
if [ "$1" = -terminate ]; then
  [ -z "$pid" ] || kill "$pid" 2>/dev/null
  rm -f "$run/tvsvcwatch.pid"
elif [ -z "$pid" ] || ! kill -0 "$pid" 2>/dev/null; then
  mkdir -p "$run"
  # The monitor writes the file itself: this script may be killed meanwhile.
  rm -f "$run/tvsvcwatch.pid"
  # shellcheck disable=SC2016 # it is the monitor that expands it
  setsid sh -c 'echo $$ >"$0.new" && mv "$0.new" "$0"; exec sleep 1000000' "$run/tvsvcwatch.pid" \
    </dev/null >/dev/null 2>&1 &
  for _ in $(seq 500); do
    [ ! -f "$run/tvsvcwatch.pid" ] || break
    sleep 0.01
  done
fi
exit 0
