#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: pkg_config.sh PREFIX LIBDIR CC SOURCE SHARED [FLAG...]
# Builds a C program with what the installed pkg-config file says, and runs it.
set -eu
prefix=$1 libdir=$2 cc=$3 source=$4 shared=$5
shift 5
PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
LD_LIBRARY_PATH="$prefix/$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
export PKG_CONFIG_PATH LD_LIBRARY_PATH
static=--static
[ "$shared" = 0 ] || static=
"$cc" -std=c11 -Wall -Werror "$@" "$source" $(pkg-config --cflags --libs $static kipgauss) -o "$prefix/consumer"
"$prefix/consumer"
