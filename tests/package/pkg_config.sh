#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: pkg_config.sh PREFIX LIBDIR COMPILER SOURCE SHARED [FLAG...]
# Builds a C or C++ program with what the installed pkg-config file says, and runs it.
set -eu
prefix=$1 libdir=$2 compiler=$3 source=$4 shared=$5
shift 5
PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
LD_LIBRARY_PATH="$prefix/$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
export PKG_CONFIG_PATH LD_LIBRARY_PATH
static=--static
[ "$shared" = 0 ] || static=
standard=c++20
[ "${source##*.}" != c ] || standard=c11
program="$prefix/$(basename "$source").program"
"$compiler" -std=$standard -Wall -Werror "$@" "$source" $(pkg-config --cflags --libs $static kipgauss) -o "$program"
"$program"
