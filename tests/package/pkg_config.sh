#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: pkg_config.sh PREFIX LIBDIR COMPILER SOURCE SHARED [FLAG...]
# Builds a C or C++ program with what the installed pkg-config file says, and runs it. The shared libraries find each
# other wherever they lie.
set -eu
prefix=$1 libdir=$2 compiler=$3 source=$4 shared=$5
shift 5
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
unset LD_LIBRARY_PATH
name=kipgauss-cpp static=--static
[ "${source##*.}" != c ] || name=kipgauss
if [ "$shared" != 0 ]; then
  static=
  set -- "$@" "-Wl,-rpath,$prefix/$libdir"
  ldd "$prefix/$libdir/libkipgauss.so" | grep -qF "=> $prefix/$libdir/libkiphost.so" ||
    { echo "libkipgauss.so does not find the host beside it" && exit 1; }
fi
program="$prefix/$(basename "$source").program"
"$compiler" -Wall -Werror "$@" "$source" $(pkg-config --cflags --libs $static $name) -o "$program"
"$program"
