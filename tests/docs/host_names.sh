#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: host_names.sh NM LIBKIPGAUSS LIBKIPHOST HOST.MD
# The page lists exactly what libkipgauss takes from libkiphost.
set -eu
export LC_ALL=C
nm=$1 gauss=$2 host=$3 page=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$nm" -D --defined-only "$host" | awk '{ print $3 }' | sort > "$work/host"
"$nm" -D --undefined-only "$gauss" | awk '{ print $2 }' | sort | comm -12 - "$work/host" > "$work/taken"
sed -n '/^What libkipgauss calls:/,$p' "$page" | grep -o '`[A-Za-z0-9_]*`' | tr -d '`' | sort > "$work/listed"
diff "$work/listed" "$work/taken" || { echo "left: $page, right: libkipgauss"; exit 1; }
