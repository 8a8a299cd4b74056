#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: kernel_objects.sh weak|sse2 OBJECT...
# weak: fails when an object holds a symbol that the linker may merge with another object's of other instructions.
# sse2: fails when an object holds an instruction that x86-64 processors need not have.
set -eu
check=$1
shift
[ $# -gt 0 ] || { echo "no object given"; exit 1; }
failures=0

later='v[a-z0-9]+|lddqu|(addsub|hadd|hsub)p[sd]|mov(d|sh|sl)dup|pshufb|ph(add|sub)s?[wd]*|pmaddubsw|pabs[bwd]|psign[bwd]'
later="$later|pmulhrsw|palignr|pmul(ld|dq)|p?blend[a-z]*|p(min|max)(sb|sd|uw|ud)|p(extr|ins?r)[bdq]|pmov[sz]x[a-z]+"
later="$later|ptest|pcmp(eq|gt)q|packusdw|round[ps][sd]|dpp[sd]|mpsadbw|phminposuw|(insert|extract)ps|movntdqa"
later="$later|pcmp[ei]str[im]|crc32[a-z]*|popcnt|lzcnt|tzcnt|andn|bextr|bls[a-z]+|bzhi|pdep|pext|mulx|rorx|s[ah][lr]x|movbe"

for object in "$@"; do
  case $check in
    weak)
      listing=$(nm -C "$object")
      sign=' [Tt] '
      found=$(echo "$listing" | grep -E '^[0-9a-f ]+ [VWvwu] ' || true)
      ;;
    sse2)
      listing=$(objdump -d --no-show-raw-insn "$object")
      sign='%xmm'
      found=$(echo "$listing" | grep -E "^ *[0-9a-f]+:[[:space:]]+($later) |%[yz]mm" || true)
      ;;
  esac
  echo "$listing" | grep -q -e "$sign" || found="nothing to look at"
  if [ -n "$found" ]; then
    echo "$object:"
    echo "$found" | head -20
    failures=1
  fi
done
exit $failures
