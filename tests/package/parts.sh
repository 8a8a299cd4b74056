#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: parts.sh CMAKE SOURCE CONSUMER FOLDER [OPTION...]
# Configures without the packages that parts need. Parts are left out, with a line, or refused where they are asked for by
# name, as the preset dev does; in another project nothing is asked for, changed or installed.
set -eu
cmake=$1 source=$2 consumer=$3 folder=$4
shift 4
rm -rf "$folder"
mkdir -p "$folder"
for package in CLI11 Doxygen GTest PNG Python3 TIFF pybind11; do
  set -- "$@" "-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON"
done
fail() { echo "$1" && cat "$folder/log" && exit 1; }

"$cmake" -S "$source" -B "$folder/whole" "$@" > "$folder/log" 2>&1 || fail "The libraries alone cannot be configured:"
for part in 'the program kip; missing: CLI11 (libcli11-dev), PNG (libpng-dev), TIFF (libtiff-dev)' 'the Python package' \
  'the tests; missing: GTest (libgtest-dev)' 'the target docs; missing: Doxygen (doxygen)'; do
  grep -qF "Left out: $part" "$folder/log" || fail "Not said: $part"
done

# refuses OPTION ARGUMENT...: the option is ON and named as what cannot be had.
refuses() {
  option=$1
  shift
  if "$cmake" -S "$source" -B "$folder/whole" "$@" > "$folder/log" 2>&1; then fail "Left out in spite of $option:"; fi
  grep -q "$option is ON; missing: " "$folder/log" || fail "Not said why $option cannot be had:"
}
for option in KIP_TESTS KIP_PYTHON KIP_TOOLS; do
  refuses $option "$@" -DKIP_TESTS=OFF -DKIP_PYTHON=OFF -DKIP_TOOLS=OFF -D$option=ON
done
refuses KIP_TESTS --preset=dev "$@" -DKIP_PYTHON=OFF -DKIP_TOOLS=OFF

for languages in C 'C;CXX'; do
  rm -rf "$folder/part"
  "$cmake" -S "$consumer" -B "$folder/part" "$@" "-DKIPGAUSS_SOURCE=$source" "-DLANGUAGES=$languages" \
    > "$folder/log" 2>&1 || fail "No part of a project in $languages:"
  if grep "Left out" "$folder/log"; then fail "Asked for more than the libraries:"; fi
  "$cmake" --install "$folder/part" --prefix "$folder/nothing" > "$folder/log" 2>&1 || fail "Installed unasked:"
done
