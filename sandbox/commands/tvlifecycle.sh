#!/bin/sh
# Lists the images that wait to be imported: pendimplist. A file holds them, one a line.
pending=${0%/*}/../../../pending_imports
[ "$1" = pendimplist ] || {
  echo "invalid operation $1" >&2
  exit 20
}
[ ! -f "$pending" ] || cat "$pending"
