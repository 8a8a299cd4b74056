#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: exports.sh NM CC SOURCE LIBKIPGAUSS LIBKIPHOST
# libkipgauss exports exactly its list, every name of which a public header declares; libkiphost exports C names with
# its prefixes only, and everything that its headers declare. Of static libraries, which cannot hide what their files
# share, every global symbol outside the library's own namespace counts as exported.
set -eu
export LC_ALL=C
nm=$1 cc=$2 source=$3 gauss=$4 host=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
bad=0

# exported LIBRARY NAMESPACE: the compiler's own symbols and weak copies of the standard library's do not count.
exported() {
  case $1 in
    *.a) "$nm" -g --defined-only "$1" |
      awk -v own="^_Z[A-Z]*N[VK]*${#2}$2" 'NF == 3 && $3 !~ own && $3 !~ /^DW\.ref\./ &&
        !($2 ~ /[VWu]/ && $3 ~ /^_Z[A-Z]*(N[VK]*)?(S[a-z]|9__gnu_cxx)/) { print $3 }' ;;
    *) "$nm" -D --defined-only "$1" | awk '$2 != "A" { print $3 }' ;;
  esac | sort -u
}
# The functions and variables that headers declare, one per line.
declared() {
  for header; do printf '#include "%s"\n' "$header"; done |
    "$cc" -I"$source/include" -E -P -x c - | grep -v '^#' | tr '\n' ' ' | tr ';' '\n' > "$work/declarations"
  names='\<(kip|kf|ks|kimg|kmath|kpel|kprt|kstd|kxf|gauss|generate_ks)[A-Za-z0-9_]*'
  {
    grep -oE "$names\(" "$work/declarations" | tr -d '('
    sed -nE 's/^.*\<extern (const )?[a-z][A-Za-z0-9_]* //p' "$work/declarations" | grep -oE "$names" || true
  } | sort -u
}
# demand TEXT FILE: the file must be empty.
demand() {
  [ -s "$2" ] || return 0
  echo "$1:" && sed 's/^/  /' "$2"
  bad=1
}

grep -E '^[a-zA-Z_]' "$source/src/kipgauss.exports" | sort > "$work/list"
uniq -d "$work/list" > "$work/twice"
demand "listed twice" "$work/twice"
exported "$gauss" kip > "$work/gauss"
comm -23 "$work/list" "$work/gauss" > "$work/missing"
demand "listed but not exported by libkipgauss" "$work/missing"
comm -13 "$work/list" "$work/gauss" > "$work/extra"
demand "exported by libkipgauss but not listed" "$work/extra"
declared "$source/include/kip/kip.h" > "$work/public"
comm -23 "$work/list" "$work/public" > "$work/undeclared"
demand "listed but declared in no public header" "$work/undeclared"

exported "$host" kiphost > "$work/host"
grep -vE '^(generate_ks|kimg_|kip_(pel|version$)|kmath_|kprt_|ks(FXform|I(Region|mage)|USImage|VImage)|kstd_|ksys_|kxf)' \
  "$work/host" > "$work/foreign" || true
demand "exported by libkiphost without one of its prefixes" "$work/foreign"
declared "$source"/include/kip/host/*.h "$source/include/kip/version.h" > "$work/operations"
comm -23 "$work/operations" "$work/host" > "$work/undefined"
demand "declared in a header of the host but not exported by libkiphost" "$work/undefined"
exit $bad
