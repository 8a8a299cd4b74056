#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: rooms.sh SOURCE
# The rooms of docs/architecture.md are the folders of src, each includes only itself and rooms of a lower number, and
# what the page names is there.
set -eu
export LC_ALL=C
cd "$1"
page=docs/architecture.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
awk -F'|' '$2 ~ /^ (apart|[0-9]+) $/ { gsub(/[ `]/, "", $2); gsub(/[ `]/, "", $3); print $3, $2 }' $page > "$work/rooms"
cut -d' ' -f1 "$work/rooms" | sort > "$work/named"
find src -mindepth 1 -type d | sed 's,^src/,,' | sort | diff "$work/named" - || { echo "left: $page, right: src"; exit 1; }

find src -name '*.[ch]pp' -exec grep -HE '^[ \t]*#[ \t]*include[ \t]*"' {} + | sed 's,^src/,,' > "$work/includes"
awk '
  NR == FNR { number[$1] = $2; next }
  {
    split($0, found, "\""); split(found[2], path, "/"); split($0, from, "/"); to = path[1]; room = from[1]
    if (to == ".." || (to in number && to != room && (to == "apart" || number[room] == "apart" || number[to] == "apart" ||
        number[to] + 0 >= number[room] + 0))) { print "src/" $0 ": climbs out of its room"; failed = 1 }
    ++count
  }
  END { if (count < 200) { print "too few includes were found"; failed = 1 }; exit failed }
' "$work/rooms" "$work/includes"

grep -oE '`(src|include|tests|tools|bench|python|docs)/[A-Za-z0-9_./]+`' $page | tr -d '`' | while read -r name; do
  [ -e "$name" ] || { echo "$page names $name, which is not there"; exit 1; }
done
