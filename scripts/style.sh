#!/bin/bash
# Holds the tree to the limits that no other tool knows: length of functions and files, leftovers,
# files that no build lists, and who may include what. Prints what is wrong; exit 1 then.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

sources() { git ls-files -co --exclude-standard '*.cc' '*.h'; }

# Functions over 60 lines, files over 300.
limits() {
  sources | grep '^src/' | xargs ctags --fields=+ne --kinds-C++=f -o - |
    awk -F'\t' '{ line = end = 0
      for (i = 4; i <= NF; i++) {
        if ($i ~ /^line:/) line = substr($i, 6)
        if ($i ~ /^end:/) end = substr($i, 5)
      }
      if (end - line > 59) print $2 ":" line ": function " $1 " has " end - line + 1 " lines" }'
  sources | grep '^src/' | xargs wc -l |
    awk '$2 != "total" && $1 > 300 { print $2 ": " $1 " lines" }'
}

leftovers() { sources | xargs grep -nE 'TODO|FIXME|^#if 0|using namespace'; }

unlisted() {
  sources | grep '\.cc$' | while read -r file; do
    list=${file%%/*}/CMakeLists.txt
    grep -qF "${file#*/}" "$list" || echo "$file: not listed in $list"
  done
}

# Databases belong to src/platform and src/record, but for what they are measured against; includes
# point from the tool down to the platform.
includes() {
  sources | grep -vE '^(src/(platform|record)|bench/limits)/' |
    xargs grep -nE '#include [<"](sqlite3|SQLiteCpp)'
  below record 'tool|catalog|tvr_utils|cr|dct|util|mtstrm'
  below platform 'tool|catalog|tvr_utils|cr|dct|util|mtstrm|record'
  below util 'tool|catalog|tvr_utils|cr|dct|mtstrm|record'
  below mtstrm 'tool|catalog|tvr_utils|cr|dct|util|record'
  below dct 'tool|catalog|tvr_utils|cr|mtstrm|record'
  below tvr_utils 'tool|catalog|cr|mtstrm|record'
  below cr 'tool|catalog|tvr_utils|mtstrm|record'
  below catalog 'tool'
  below . 'report|undo|sandbox|tests'
  grep -rnE '#include "(undo|sandbox|tests)/' report
}

below() { # FOLDER FORBIDDEN: no file of the folder includes one of the forbidden ones
  grep -rnE "#include \"($2)/" "src/$1"
}

findings=$(
  limits
  leftovers
  unlisted
  includes
)
[ -z "$findings" ] && exit 0
echo "$findings"
exit 1
