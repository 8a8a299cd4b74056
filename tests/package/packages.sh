#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: packages.sh BUILD FOLDER LIBDIR CC CONSUMER CHART PROGRAM [PYTHON PYTHONDIR]
# Makes the Debian packages of a build in FOLDER, unpacks them into an empty tree and uses what is there: the program,
# whose result must be PROGRAM's, headers and libraries from C, and the Python module.
set -eu
build=$1 folder=$2 libdir=$3 cc=$4 consumer=$5 chart=$6 program=$7 python=${8:-} pythondir=${9:-}
here=$(dirname "$0")
rm -rf "$folder"
mkdir -p "$folder"
cpack --config "$build/CPackConfig.cmake" -B "$folder" > "$folder/log" 2>&1 || { cat "$folder/log" && exit 1; }
root=$folder/root
for package in "$folder"/*.deb; do
  name=$(dpkg-deb --field "$package" Package)
  case $name in
    libkipgauss[0-9]*) ;;
    *) dpkg-deb --field "$package" Depends | grep -q 'libkipgauss[0-9]' || { echo "$name lacks the libraries" && exit 1; } ;;
  esac
  dpkg-deb --extract "$package" "$root"
done

"$root/usr/bin/kip" smooth "$chart" "$folder/packaged.pgm" --sigma 3
"$program" smooth "$chart" "$folder/built.pgm" --sigma 3
cmp "$folder/packaged.pgm" "$folder/built.pgm"
for completion in zsh/vendor-completions/_kip bash-completion/completions/kip; do
  [ -f "$root/usr/share/$completion" ] || { echo "$completion is not there" && exit 1; }
done
ldd "$root/usr/bin/kip" | grep -q "$root" || { echo "kip uses other libraries than those beside it" && exit 1; }
sh "$here/pkg_config.sh" "$root/usr" "$libdir" "$cc" "$consumer" 1
[ -n "$python" ] || exit 0
PYTHONPATH=$root/usr/$pythondir "$python" -B -c "
import sys, kip, numpy
assert kip.__file__.startswith(sys.argv[1]), kip.__file__
bright = numpy.full((20, 30), 7, dtype=numpy.uint8)
assert (kip.smooth(bright, 2) == 7).all()" "$root"
