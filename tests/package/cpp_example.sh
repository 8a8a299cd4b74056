#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: cpp_example.sh PREFIX LIBDIR CXX SOURCE SHARED [FLAG...]
# Builds and runs an example, which ends in a comment with what it prints.
set -eu
work="$1/$(basename "$4").out"
sh "$(dirname "$0")/pkg_config.sh" "$@" > "$work"
sed '1,/^\/\/ prints$/d; s|^// \{0,1\}||' "$4" | diff - "$work"
