#!/bin/sh
# install-packages.sh build|check|package|fleet|bench|mutants: installs the missing Debian packages for
# building, checking, packaging, trying many hosts, comparing speed or seeding faults. It downloads nothing if
# none is missing, and starts no service.
set -eu

build="g++ cmake ninja-build
  libboost-filesystem1.74-dev libboost-system1.74-dev libboost-thread1.74-dev
  libboost-program-options1.74-dev
  libsqlite3-dev libsqlitecpp-dev libspdlog-dev nlohmann-json3-dev libgtest-dev sqlite3 strace"
package="$build binutils dpkg-dev file gzip lintian systemd"
fleet="$package ansible-core iproute2 openssh-client openssh-server python3-apt"
check="$fleet libbenchmark-dev clang libclang-rt-dev clang-format clang-tidy git universal-ctags shellcheck mandoc
  time valgrind python3 chromium chromium-driver ansible-lint prometheus prometheus-node-exporter"
bench="$build libbenchmark-dev python3"
mutants="$build git lld python3 util-linux"

case ${1-} in
  build) wanted=$build ;;
  check) wanted=$check ;;
  package) wanted=$package ;;
  fleet) wanted=$fleet ;;
  bench) wanted=$bench ;;
  mutants) wanted=$mutants ;;
  *)
    echo "usage: install-packages.sh build|check|package|fleet|bench|mutants" >&2
    exit 2
    ;;
esac

missing=
for package in $wanted; do
  status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
[ "$(id -u)" -eq 0 ] || as_root=sudo
echo "Installing:$missing"
export DEBIAN_FRONTEND=noninteractive
# The tests start servers of their own. The machine's must not run only because of a test.
policy=/usr/sbin/policy-rc.d
if [ ! -e $policy ]; then
  trap '$as_root rm -f $policy' EXIT
  printf '#!/bin/sh\nexit 101\n' | $as_root tee $policy >/dev/null
  $as_root chmod 755 $policy
fi
$as_root apt-get update -qq
# Word splitting is intended.
# shellcheck disable=SC2086
$as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
