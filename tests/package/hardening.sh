#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: hardening.sh READELF CHECKED FILE|FOLDER...
# Libraries and programs are protected as Debian's are: at any address, no executable stack, relocations that are done
# and read-only from the start, guarded stacks and, where CHECKED is 1, text printed by the checking functions.
set -eu
export LC_ALL=C
readelf=$1 checked=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
find "$@" -type f \( -name '*.so*' -o -path '*/bin/*' \) > "$work/files"
[ -s "$work/files" ] || { echo "no file given"; exit 1; }
bad=0
demand() { # what is said when the listing lacks the pattern
  grep -qE "$2" "$work/listing" || { echo "$file: $1" && bad=1; }
}

while read -r file; do
  "$readelf" --wide --file-header --program-headers --dynamic --dyn-syms "$file" > "$work/listing"
  demand "its addresses are fixed" '^ *Type: +DYN '
  ! grep -q '^ *INTERP ' "$work/listing" || demand "its addresses are fixed" 'FLAGS_1.* PIE'
  demand "its stack is executable" '^ *GNU_STACK .* RW '
  demand "its relocations stay writable" '^ *GNU_RELRO '
  demand "its relocations are done late" 'FLAGS.* (BIND_)?NOW'
  demand "its stacks have no guards" ' __stack_chk_fail(@|$)'
  if [ "$checked" = 1 ] && grep -qE ' (f?printf|snprintf)(@|$)' "$work/listing"; then
    demand "it prints text unchecked" ' __[a-z]+printf_chk(@|$)' # where a buffer's size is known
  fi
done < "$work/files"
exit $bad
