#!/bin/sh
# Lists the product's running processes, one name a line.
run=${0%/*}/../../run
echo tvclient
if [ -f "$run/tvsvcwatch.pid" ] && kill -0 "$(cat "$run/tvsvcwatch.pid")" 2>/dev/null; then
  echo tvsvcwatch
fi
