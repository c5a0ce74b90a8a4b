#!/bin/bash
# Runs clang-tidy on the programs and the fault driver; warnings are errors. Several files at a time share
# the headers that they include, which take most of the time. If names in these files clash, each file is
# checked alone.
set -euo pipefail
cd "$(dirname "$0")/.."
# Not in build/asan, which another step may configure meanwhile and whose precompiled headers may be missing.
configure() { cmake --preset asan -B "$1" -DMDFIXUP_PRECOMPILE=OFF "${@:2}" >/dev/null; }
configure build/tidy/joined -DCMAKE_UNITY_BUILD_BATCH_SIZE=16
configure build/tidy/alone -DCMAKE_UNITY_BUILD=OFF

tidy_unit() {
  local log=$1.log
  clang-tidy --quiet --checks=-bugprone-suspicious-include -p build/tidy/joined "$1" >"$log" 2>&1 && return
  if grep -q clang-diagnostic-error "$log"; then
    sed -n 's/^#include "\(.*\)"$/\1/p' "$1" | xargs -n 1 clang-tidy --quiet -p build/tidy/alone >"$log" 2>&1 &&
      return
  fi
  cat "$log"
  return 1
}
export -f tidy_unit
# The unit's name is expanded by the inner shell.
# shellcheck disable=SC2016
find build/tidy/joined/{src,sandbox,report,undo,tests/faults} -name 'unity_*_cxx.cxx' -print0 |
  xargs -0 -n 1 -P "$(nproc)" bash -c 'tidy_unit "$1"' -
