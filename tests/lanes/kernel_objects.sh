#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: kernel_objects.sh SET OBJECT..., an instruction set and the objects of its kernels
# Fails when one holds a symbol that the linker may merge with another object's of other instructions or, for sse2, an
# instruction that x86-64 processors need not have.
set -eu
set=$1
shift
[ $# -gt 0 ] || { echo "no object given"; exit 1; }
failures=0

later='v[a-z0-9]+|lddqu|(addsub|hadd|hsub)p[sd]|mov(d|sh|sl)dup|pshufb|ph(add|sub)s?[wd]*|pmaddubsw|pabs[bwd]|psign[bwd]'
later="$later|pmulhrsw|palignr|pmul(ld|dq)|p?blend[a-z]*|p(min|max)(sb|sd|uw|ud)|p(extr|ins?r)[bdq]|pmov[sz]x[a-z]+"
later="$later|ptest|pcmp(eq|gt)q|packusdw|round[ps][sd]|dpp[sd]|mpsadbw|phminposuw|(insert|extract)ps|movntdqa"
later="$later|pcmp[ei]str[im]|crc32[a-z]*|popcnt|lzcnt|tzcnt|andn|bextr|bls[a-z]+|bzhi|pdep|pext|mulx|rorx|s[ah][lr]x|movbe"

look() {
  echo "$listing" | grep -q -e "$1" || found="nothing to look at"
  [ -z "$found" ] || { echo "$object:"; echo "$found" | head -20; failures=1; }
}

for object in "$@"; do
  listing=$(nm -C "$object")
  found=$(echo "$listing" | grep -E '^[0-9a-f ]+ [VWvwu] ' || true)
  look ' [Tt] '
  [ "$set" = sse2 ] || continue
  listing=$(objdump -d --no-show-raw-insn "$object")
  found=$(echo "$listing" | grep -E "^ *[0-9a-f]+:[[:space:]]+($later) |%[yz]mm" || true)
  look '%xmm'
done
exit $failures
