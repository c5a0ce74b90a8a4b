#!/bin/bash
# Installs the package below a folder of its own, uses what it installed there, and removes it again:
# install_test.sh PACKAGE.deb. The machine that this runs on stays as it is.
set -euo pipefail
deb=$(realpath "$1")
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root storage=$work/kestrel log=$work/'the logs'

expect() { # WHAT COMMAND...: the command must succeed
  "${@:2}" || { echo "install_test: expected: $1" >&2 && exit 1; }
}
# This machine may exclude paths from installations, for example manual pages; include all here.
in_root() {
  dpkg --root="$root" --log="$work/dpkg.log" --force-script-chrootless --force-depends \
    --force-not-root --force-bad-path --path-include='/*' "$@" >"$work/dpkg" 2>&1 ||
    { cat "$work/dpkg" && exit 1; }
}

lintian --allow-root --fail-on error,warning "$deb"
mkdir -p "$root"/var/lib/dpkg/{info,updates}
touch "$root/var/lib/dpkg/status"
in_root --install "$deb"
companions=(mdfixup-report mdfixup-sandbox)
share=usr/share completions=usr/share/bash-completion/completions
manuals=("${companions[@]/#/$share/man/man1/}")
expect "these files and no others" diff <({
  printf '755 %s\n' usr/sbin/mdfixup{,-undo} "${companions[@]/#/usr/bin/}" usr/libexec/mdfixup/check
  printf '644 %s\n' etc/{default,logrotate.d}/mdfixup \
    lib/systemd/system/mdfixup-check.{service,timer} $completions/mdfixup \
    $share/mdfixup/prometheus/mdfixup.rules.yml $share/zsh/vendor-completions/_mdfixup $share/man/man8/mdfixup{,-undo}.8.gz "${manuals[@]/%/.1.gz}" \
    $share/doc/mdfixup/{README.Debian,copyright,changelog.gz,changelog.Debian.gz} \
    $share/doc/mdfixup/{fleet,operating,reliability,report,troubleshooting}.md \
    $share/doc/mdfixup/examples/{ksregistry,storage}.cfg
  printf "755 $share/mdfixup/%s\n" fleet/roles/mdfixup/files/check.sh
  git ls-files fleet ':!*.sh' ':!fleet/.*' | sed "s!^!644 $share/mdfixup/!"
  printf '777 %s\n' $completions/mdfixup-undo "${companions[@]/#/$completions/}"
} | sort) <(cd "$root" && find etc lib usr ! -type d -printf '%m %p\n' | sort)

for program in usr/sbin/mdfixup{,-undo} "${companions[@]/#/usr/bin/}"; do
  readelf -Whld --dyn-syms "$root/$program" >"$work/elf"
  for mark in 'Type: *DYN .Position-Independent' GNU_RELRO 'Flags: NOW' 'GNU_STACK.* RW ' \
    __stack_chk_fail 'NEEDED.*libc\.so'; do
    expect "$program has $mark" grep -q "$mark" "$work/elf"
  done
  # shellcheck disable=SC2016 # the inner shell's
  expect "$program is completed" \
    bash -c '. "$1/${2##*/}"; complete -p "${2##*/}" >/dev/null' - "$root/$completions" "$program"
done
expect "security updates of SQLite reach the program" \
  grep -q 'NEEDED.*libsqlite3\.so' <(readelf -Wd "$root/usr/sbin/mdfixup")
# The programs call no function with such a check at run time, so their symbols do not show it.
expect "every file compiled with the checks of the C library" [ -z "$(
  grep '"command"' "${deb%/*}/compile_commands.json" | grep -v -- -D_FORTIFY_SOURCE=2)" ]

"$root/usr/bin/mdfixup-sandbox" create "$storage" >/dev/null
mkdir "$log"
for file in ksregistry storage; do # run with the example files
  sed "s!/srv/kestrel/log!$log!; s!/srv/kestrel!$storage!" \
    "$root/$share/doc/mdfixup/examples/$file.cfg" >"$storage/etc/$file.cfg"
done
list() { "$root/usr/bin/mdfixup-sandbox" list "$storage/catalog"; }
check() { # STATUS LINE...: with these lines after the settings of the sandbox
  local status=0
  printf '%s\n' "KSREGISTRY=$storage/etc/ksregistry.cfg" "TVR_LOCATION=$storage/quorv" "${@:2}" \
    >"$root/etc/default/mdfixup"
  "$root/usr/libexec/mdfixup/check" >"$work/out" 2>"$work/err" || status=$?
  expect "exit status $1 with the settings ${*:2}, not $status: $(cat "$work/err")" [ $status = "$1" ]
}
list >"$work/before"
runs=$log/mdfixup/runs
# Kept: files that a live process may still write, that are newer in part, or that are no records.
kept=("1-$$.db" 2-0.db{,-wal} 2-0.db.old notes.db)
mkdir -p "$runs/3-0.db"
ln -s "$storage/planted" "$runs/4-0.db"
touch "$runs"/{5-0.db{,-wal},6-0.db.new} "${kept[@]/#/$runs/}"
touch -hd '8 days ago' "$runs"/*
touch -d '6 days ago' "$runs/2-0.db-wal"
check 0 '# as it is meant' '' 'NUM_THREADS=2' 'KEEP_DAYS=7'
expect "two records removed" grep -q "^Records older than 7 days removed from $runs: 2$" "$work/out"
expect "nothing else removed" diff <(printf '%s\n' 3-0.db 4-0.db "${kept[@]}" | LC_ALL=C sort) \
  <(find "$runs" -mindepth 1 ! -name '??????????-*' -printf '%f\n' | LC_ALL=C sort)
ids=$(find "$runs" -name '??????????-*.db' -printf '%f\n' | sort -n | sed 's/[.]db//' | paste -sd ' ')
expect "what was found, and the reports" grep -qx "mdfixup check: found: $(
  wc -l <"$storage/planted/scan.txt") .*, $(wc -l <"$storage/planted/orphans.txt") orphan copies, $(
  wc -l <"$storage/planted/missing.txt") missing copies[.] Read: mdfixup-report $ids" "$work/out"
expect "the planted lines and no others" diff <(grep -E '^(Client |\{)' "$work/out" | LC_ALL=C sort) \
  <(LC_ALL=C sort "$storage"/planted/{scan,orphans}.txt)
for line in --repair_client_name_case 'OPTIONS=--repair_client_name_case' 'NUM_THREADS="2"' \
  'NUM_THREADS=2 --repair_client_name_case' \
  "LD_PRELOAD=$work/evil.so" "touch $work/done" 'TVR_DISK_POOL=dp_sandbox ' \
  'TVR_DISK_POOL=dp # mine' ONE_LISTING= ONE_LISTING=1 'TVR_DISK_POOL=' KEEP_DAYS= KEEP_DAYS=0 KEEP_DAYS=7d METRICS_FILE=m.prom \
  FAIL_ON_FINDINGS=1; do
  check 2 "$line"
done
for line in "TVR_LOCATION=\$(touch $work/done)" \
  "TVR_LOCATION=/;touch $work/done" 'KSREGISTRY=x --FORCE_DEDUPE_METADATA_CONSISTENCY'; do
  check 1 "$line"
done
check 0 'TVR_DISK_POOL=x --repair_client_name_case --force'
check 0 ONE_LISTING=yes METRICS_FILE="$work/m.prom"
expect "the same orphans with one listing" diff <(grep '^{' "$work/out" | LC_ALL=C sort) \
  <(LC_ALL=C sort "$storage/planted/orphans.txt")
expect "the flag" grep -q -- ' --one_listing' <(tail -n 20 "$log"/mdfixup/mdfixup.log)
# The first command of the dry run repairs the database that the scan failed at; then it reports a
# pending import; then it survives a signal to the whole process group.
lifecycle=$storage/quorv/tavrin/bin/admincmd/tvlifecycle
damaged=$(find "$storage/catalog" -name po.db -print -quit)
mv "$damaged" "$work/po.db"
echo damaged >"$damaged"
printf '#!/bin/sh\nmv %s %s\n' "$work/po.db" "$damaged" >"$lifecycle"
good='_last_success_timestamp_seconds{task="scan"}'
grep -F "$good" "$work/m.prom" >"$work/good"
check 1 METRICS_FILE="$work/m.prom"
expect "a dry run after the failed scan" grep -q '^mdfixup finished successfully' "$work/out"
expect "which step failed" grep -q '^mdfixup check: failed: the scan[.] Found: [0-9]' "$work/out"
expect "metrics of the failure" grep -qx 'mdfixup_run_exit_status{task="scan"} 255' "$work/m.prom"
expect "no later success" diff "$work/good" <(grep -F "$good" "$work/m.prom")
expect "metrics that Prometheus accepts" promtool check metrics <"$work/m.prom"
check 3 FAIL_ON_FINDINGS=yes
printf '#!/bin/sh\necho image1\n' >"$lifecycle"
check 1
mkfifo "$work"/{begun,on}
printf '#!/bin/sh\ntrap "" TERM\necho >%s\nread -r line <%s\n' "$work"/{begun,on} >"$lifecycle"
setsid "$root/usr/libexec/mdfixup/check" >"$work/out" 2>&1 &
read -r <"$work/begun"
kill -TERM -- -$!
echo >"$work/on"
status=0
wait $! || status=$?
expect "a stopped check fails, but not before its run has ended" \
  [ $status = 1 -a ! -e "$storage/mdfixup.lock" ]
expect "nothing changed" diff <(list) "$work/before"
expect "nothing executed" [ ! -e "$work/done" ]
expect "scans and dry runs alone" [ "$(grep -o ' mode: .*' "$log/mdfixup/mdfixup.log" |
  sort -u)" = $' mode: client name case scan\n mode: metadata consistency, dry run' ]

units=$root/lib/systemd/system
expect "the one command" [ "$(grep -h '^Exec' "$units"/*)" = ExecStart=/usr/libexec/mdfixup/check ]
mkdir "$work/units"
for unit in mdfixup-check.service mdfixup-check.timer; do # their program is not on this machine
  sed "s!^ExecStart=!&$root!" "$units/$unit" >"$work/units/$unit"
done
# Unknown settings cause warnings. Warnings about other units of this machine are ignored.
systemd-analyze verify --man=no "$work"/units/* 2>&1 | grep -F mdfixup-check >"$work/verify" || true
expect "sound units: $(cat "$work/verify")" [ ! -s "$work/verify" ]

systemctl --root="$root" --quiet enable mdfixup-check.timer
in_root --remove mdfixup
expect "settings stay" [ -e "$root/etc/default/mdfixup" ]
in_root --purge mdfixup
expect "nothing left" [ -z "$(find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -print)" ]
echo "install_test: passed"

