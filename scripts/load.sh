#!/bin/bash
# Runs the release build on the largest storages: 20,000 policy directories with 1 and 64 threads,
# 1,000,000 POs in a directory, a listing of 1 GiB. Prints seconds and peak memory of each run. Exits
# with 1 if a run fails, exceeds its memory limit, or leaks descriptors: each run may open only a few.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly base_kib=$((64 * 1024)) pos_of_deep=1000000

work=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo /tmp)")
trap 'rm -rf "$work"' EXIT

sandbox() { # NAME OPTION...: makes a storage
  local name=$1
  shift
  build/release/sandbox/mdfixup-sandbox create "$work/$name" "$@" >/dev/null
}

# Replaces the simulated query: its shell pipeline would dominate the time.
list_with() { # STORAGE, with the script on standard input
  cat >"$work/$1/quorv/tavrin/bin/admincmd/tvimagequery"
}

failed=0
run() { # STORAGE DESCRIPTORS KIBIBYTES ARGUMENT...
  local storage=$work/$1 descriptors=$2 most_kib=$3 status=0 seconds kib
  shift 3
  export KSREGISTRY=$storage/etc/ksregistry.cfg
  (
    ulimit -n "$descriptors"
    exec /usr/bin/time -q -f '%e %M' -o "$work/time" \
      build/release/src/mdfixup --tvr_location "$storage/quorv" "$@"
  ) >"$work/out" 2>"$work/err" || status=$?
  read -r seconds kib <"$work/time"
  printf '%-6s %-62s %8s s %7d KiB\n' "${storage##*/}" "$*" "$seconds" "$kib"
  if [ "$status" -ne 0 ] || [ "$kib" -gt "$most_kib" ] || [ -s "$work/err" ]; then
    echo "FAILED: exit status $status, at most $most_kib KiB expected"
    head -n 5 "$work/err"
    failed=1
  fi
}

consistency=--FORCE_DEDUPE_METADATA_CONSISTENCY
sandbox wide --clients 20000 --policies 1 --images 3 --copies 1
list_with wide <<'SCRIPT'
#!/bin/sh
images=${0%/*}/../../../images
[ "$1" = -client ] || exec find "$images" -type f -exec cat {} +
[ -f "$images/$2/$4" ] || exit 227
exec cat "$images/$2/$4"
SCRIPT
# A leak of one descriptor in a hundred directories makes these runs fail.
for threads in 1 64; do
  descriptors=$((30 + threads * 6))
  run wide $descriptors $base_kib --scan_client_name_case --num_threads $threads
  run wide $descriptors $base_kib $consistency --dry_run --num_threads $threads
done
run wide 414 $base_kib --repair_client_name_case --num_threads 64
run wide 414 $base_kib $consistency --num_threads 64
rm -rf "$work/wide"

# Few orphans, because the deletion of each reads the whole directory.
sandbox deep --clients 1 --policies 1 --images $((pos_of_deep / 2)) --copies 1 --miscased 0.5 \
  --orphans 0.00002 --missing 0
readonly deep_kib=$((base_kib + pos_of_deep * 128 / 1024))
run deep 36 $base_kib --scan_client_name_case
run deep 36 $deep_kib $consistency --dry_run
run deep 36 $deep_kib --repair_client_name_case
read -r _ kib <"$work/time"
echo "       at most $((kib * 1024 / pos_of_deep)) bytes for each PO of the directory, half of which are moved"
run deep 36 $deep_kib $consistency
rm -rf "$work/deep"

sandbox listed --clients 1 --policies 1 --images 1 --orphans 0 --missing 0 --miscased 0
list_with listed <<'SCRIPT'
#!/bin/sh
# Images that the metadata lacks, of the requested client and policy or of unknown ones.
exec awk -v client="${2:-client}" -v policy="${4:-policy}" 'BEGIN {
  for (i = 0; bytes < 1024 * 1024 * 1024; ++i) {
    image = sprintf("IMAGE %s 0 0 13 x %s 0 *NULL* root Full 0 3 %d %0200d", client, policy, i, i)
    frag = "FRAG 1 1 102400 0 2 6 1 media1.example.lan 65536 0 0 0 0 *NULL* " \
      "@aaaab;KestrelVolume;kestrel;dp_sandbox;1 0 0 0 *NULL* 102400 0 65537 0 0 0 1 1893456000 0"
    print image "\n" frag
    bytes += length(image) + length(frag) + 2
  }
}'
SCRIPT
run listed 36 $base_kib $consistency --dry_run
exit $failed
