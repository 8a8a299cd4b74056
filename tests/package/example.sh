#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: example.sh README PREFIX LIBDIR CC SOURCE SHARED [FLAG...]
# Builds and runs an example; the README must show it and what it prints as they are.
set -eu
readme=$1
shift
sh "$(dirname "$0")/pkg_config.sh" "$@" > "$1/example.out"
for text in "$4" "$1/example.out"; do
  awk 'NR == FNR { part = part $0 "\n"; next } { whole = whole $0 "\n" } END { exit part == "" || !index(whole, part) }' \
    "$text" "$readme" || { echo "$readme does not show this:" && cat "$text" && exit 1; }
done
