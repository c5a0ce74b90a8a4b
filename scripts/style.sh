#!/bin/bash
# Checks what no other tool does: length of functions and files, leftovers, files that no build lists.
# Prints what is wrong; exit 1 then.
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

# Each .cc file is in the list of the nearest folder that has one.
unlisted() {
  sources | grep '\.cc$' | while read -r file; do
    folder=${file%/*}
    until [ -e "$folder/CMakeLists.txt" ]; do folder=${folder%/*}; done
    grep -qF "${file#"$folder"/}" "$folder/CMakeLists.txt" || echo "$file: not listed in $folder"
  done
}

findings=$(
  limits
  leftovers
  unlisted
)
[ -z "$findings" ] && exit 0
echo "$findings"
exit 1
