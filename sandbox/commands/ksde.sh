#!/bin/sh
# Starts the deduplication engine's daemons, or with "stop" ends them. They are processes that sleep,
# with pid files where the real ones keep theirs.
run=/var/run
[ -w "$run" ] || {
  echo "$run cannot be written" >&2
  exit 1
}
for name in poolmgrd segstored; do
  pid=$(cat "$run/$name.pid" 2>/dev/null)
  comm=$(cat "/proc/${pid:-none}/comm" 2>/dev/null)
  if [ "$1" = stop ]; then
    # On a real media server the files are those of real daemons.
    [ "$comm" = sleep ] || continue
    kill "$pid"
    rm -f "$run/$name.pid"
  elif [ -z "$comm" ]; then
    # The daemon writes the file itself: this script may be killed meanwhile.
    rm -f "$run/$name.pid"
    # shellcheck disable=SC2016 # it is the daemon that expands it
    setsid sh -c 'echo $$ >"$0.new" && mv "$0.new" "$0"; exec sleep 1000000' "$run/$name.pid" \
      </dev/null >/dev/null 2>&1 &
    for _ in $(seq 500); do
      pid=$(cat "$run/$name.pid" 2>/dev/null)
      # `stop` knows the daemon by this name.
      [ "$(cat "/proc/${pid:-none}/comm" 2>/dev/null)" != sleep ] || break
      sleep 0.01
    done
  fi
done
exit 0
