#!/bin/sh
# Lists the images of the backup catalog: [-client NAME] [-policy NAME] [-hoursago HOURS]. The catalog
# has one file of IMAGE and FRAG lines for each client and policy.
images=${0%/*}/../../../images
client=
policy=
hours=
while [ $# -gt 0 ]; do
  case $1 in
    -client) client=$2 ;;
    -policy) policy=$2 ;;
    -hoursago) hours=$2 ;;
    *)
      echo "invalid option $1" >&2
      exit 20
      ;;
  esac
  shift 2
done

since=0
[ -z "$hours" ] || since=$(($(date +%s) - hours * 3600))
filter() {
  exec awk -v since="$since" '
    $1 == "unreadable" { failed = 1; next }
    $1 == "IMAGE" { listed = $14 >= since }
    listed { print; found = 1 }
    END { if (failed) exit 2
      if (!found) { print "no entity was found"; exit 227 } }'
}

# Most queries are for one file, and need no further process.
if [ -n "$client" ] && [ -n "$policy" ]; then
  file=$images/$client/$policy
  [ -f "$file" ] || file=/dev/null
  filter <"$file"
fi
# The pipeline exits as awk does, so awk must learn that the catalog could not be read.
(find "$images" -type f -path "*/${client:-*}/${policy:-*}" -exec cat {} + || echo unreadable) | filter
