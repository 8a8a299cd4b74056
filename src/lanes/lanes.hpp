// SPDX-License-Identifier: Apache-2.0
// The vocabulary of vectors, only for kernel files: they are compiled once for each instruction set, whose file says
// how each operation is done. Everything is in an unnamed namespace and inlined, so that no object holds code that
// another could use in its place.
//
// Vec         a vector of integers in lanes of 8, 16, 32 or 64 bits, as the operation says; VecFloat, VecDouble
// halves      a vector is one half or two, and where lanes become wider, narrower or columns they do so within each
//             half: 8-bit lanes 0 1 ... 15 | 16 ... 31 give low lanes of 16 bits 0 ... 7 | 16 ... 23 and high ones 8
//             ... 15 | 24 ... 31. What keeps the order of all lanes says so.
//
// Memory, of any alignment:
//   load store, of a vector; loadHalves(low, high): each half from its own place, where there are two
//   loadBytes: as many bytes as there are 16-bit lanes, in order; storeBytes storeWords: the lanes in half the bits, in
//     order; they fit
// The same for every lane: zeros all8 all16 all32 all64 allFloat allDouble
// Lane by lane:
//   equal8 equal32 greater32 (signed): all bits where it is so
//   bitAnd bitOr bitXor add16 add32 add64 sub32 sub64 smaller16 (signed) multiply16 multiply32 (the low bits)
//   multiplyPairs16: signed products of 16-bit lanes, those of neighbours added in 32 bits
//   multiplyEven32: products in 64 bits of the even 32-bit lanes
//   shiftLeft32 shiftRight32 shiftLeft64 shiftRight64: logical, by a count from shift32By or shift64By, which are
//     not the same; counts past the width give 0. With the count as template argument also shiftLeft16 shiftRight16,
//     shiftSigned16 shiftSigned32
//   select(mask, yes, no), of lanes with all bits set or none; bitsOf: one bit or more of each, together allBits
// Other widths:
//   interleaveLow8 interleaveHigh8, ...16, ...32, ...64: of two vectors' lower or upper lanes in turn
//   firstWords lastWords: half of the unsigned 16-bit lanes in 32 bits, in order
//   joinBytes joinWords: two vectors' lanes in half the bits, in order; they fit
//   saturate16: two vectors' signed 32-bit lanes limited to 16 bits
//   lowWords(even, odd): their low 16 bits in turn; narrow(low, high): the low 32 bits of 64-bit lanes
// Rows of pixels, in order:
//   shiftIn<Bytes>(before, after): the last bytes of the one before all but the last of the one after
//   shiftOut<Bytes>(before, after): all but the first bytes of the one before, the first of the one after
//   weighPairs8<Even, Odd>: in 16 bits, Even times the even bytes plus Odd times the odd ones; the factors are signed
//   fiveTaps8(a, ..., e): (a + 4 b + 6 c + 4 d + e + 8) / 16, byte by byte
//   difference(a, ..., d): a - 3 b + 3 c - d of bytes, in 16 bits: Words, two vectors low and high
// Floats of 32-bit lanes:
//   toFloats; truncate, to integers; nearest: the nearest integer, ties to even, also of a single float; atLeast1;
//   smaller:
//     not-a-number gives the second; + - * /
// Doubles, two vectors of them:
//   fromSigned toSigned (truncated), of 32-bit lanes; truncate, for those of Wide; what does not fit becomes anything
//   equal: a mask of 32-bit lanes, for those of Wide; asDoubles: the same bits; smaller: not-a-number gives the second
// divide32(sum, multiplier, evenShift, oddShift): products in 64 bits of unsigned 32-bit lanes, shifted right;
//   evenShift is from shift64By(shift) and oddShift from shift64By(shift - 32), of a shift from 32 to 63
// joinHalves(columns): of a square of 32-bit lanes whose halves are transposed
#pragma once

#include KIP_LANES_FILE

namespace kip {

namespace {

constexpr int64_t lanes = sizeof(Vec) / 4;  // of 32 bits

KIP_INLINE int64_t smaller(int64_t a, int64_t b) {
  return a < b ? a : b;
}
// What comes next of a row; where that is past the row nothing is read.
KIP_INLINE void prefetch(const uint8_t* at) {
  __builtin_prefetch(at + 256);
}

// ---- integers

// All bits of a lane of 16 bits are its sign.
KIP_INLINE Vec signs16(Vec a) {
  return shiftSigned16<15>(a);
}
// The same of 32 bits.
KIP_INLINE Vec signs32(Vec a) {
  return shiftSigned32<31>(a);
}
// Signed lanes of 32 bits, not above a limit of 16 bits.
template <int Limit>
KIP_INLINE Vec limited16(Vec value) {
  return interleaveLow16(smaller16(saturate16(value, value), all16(Limit)), zeros());
}
// (a + 4 b + 6 c + 4 d + e + 8) / 16 of unsigned 16-bit lanes: of signed ones, that is 32768 lower.
KIP_INLINE Vec fiveTaps16(Vec a, Vec b, Vec c, Vec d, Vec e) {
  const Vec sign = all16(-32768);
  const auto weigh = [](Vec ab, Vec cd, Vec e16) {
    const Vec sum = add32(multiplyPairs16(ab, all32(1 | 4 << 16)), multiplyPairs16(cd, all32(6 | 4 << 16)));
    return shiftSigned32<4>(add32(sum, multiplyPairs16(e16, all32(1 | 1 << 16))));
  };
  a = bitXor(a, sign), b = bitXor(b, sign), c = bitXor(c, sign), d = bitXor(d, sign), e = bitXor(e, sign);
  const Vec half = all16(8);
  return bitXor(sign, saturate16(weigh(interleaveLow16(a, b), interleaveLow16(c, d), interleaveLow16(e, half)),
                                 weigh(interleaveHigh16(a, b), interleaveHigh16(c, d), interleaveHigh16(e, half))));
}
// Neighbouring columns of values as bytes.
KIP_INLINE Vec lowBytes(Vec even, Vec odd) {
  return bitOr(bitAnd(even, all16(0xFF)), shiftLeft16<8>(odd));
}
// The low 64 bits of 64-bit values times one of less than 2^32.
KIP_INLINE Vec multiply64(Vec value, Vec factor) {
  return add64(multiplyEven32(value, factor), shiftLeft64<32>(multiplyEven32(shiftRight64<32>(value), factor)));
}

// ---- as many lanes of 64 bits as a vector has of 32: the lower and the upper ones of its halves

struct Wide {
  Vec low, high;
};

KIP_INLINE Wide widen(Vec value, Vec upper) {
  return {interleaveLow32(value, upper), interleaveHigh32(value, upper)};
}
KIP_INLINE Wide widenUnsigned(Vec value) {
  return widen(value, zeros());
}
KIP_INLINE Wide widenSigned(Vec value) {
  return widen(value, shiftSigned32<31>(value));
}
KIP_INLINE Vec narrow(Wide a) {
  return narrow(a.low, a.high);
}
KIP_INLINE Wide operator+(Wide a, Wide b) {
  return {add64(a.low, b.low), add64(a.high, b.high)};
}
KIP_INLINE Wide operator-(Wide a, Wide b) {
  return {sub64(a.low, b.low), sub64(a.high, b.high)};
}
KIP_INLINE Wide operator&(Wide a, Vec bits) {
  return {bitAnd(a.low, bits), bitAnd(a.high, bits)};
}
KIP_INLINE Wide operator*(Wide a, Vec factor) {
  return {multiply64(a.low, factor), multiply64(a.high, factor)};
}
KIP_INLINE Wide operator<<(Wide a, Shift count) {
  return {shiftLeft64(a.low, count), shiftLeft64(a.high, count)};
}
template <int Count>
KIP_INLINE Wide shiftRight64(Wide a) {
  return {shiftRight64<Count>(a.low), shiftRight64<Count>(a.high)};
}
KIP_INLINE Wide operator>>(Wide a, Shift count) {
  return {shiftRight64(a.low, count), shiftRight64(a.high, count)};
}

// ---- doubles

KIP_INLINE Doubles operator+(Doubles a, Doubles b) {
  return {a.low + b.low, a.high + b.high};
}
KIP_INLINE Doubles operator-(Doubles a, Doubles b) {
  return {a.low - b.low, a.high - b.high};
}
KIP_INLINE Doubles operator*(Doubles a, Doubles b) {
  return {a.low * b.low, a.high * b.high};
}
KIP_INLINE Doubles operator/(Doubles a, Doubles b) {
  return {a.low / b.low, a.high / b.high};
}
KIP_INLINE Doubles all(double value) {
  return {allDouble(value), allDouble(value)};
}
// Not-a-number gives the limit.
KIP_INLINE VecFloat limited(VecFloat a, float limit) {
  return smaller(a, allFloat(limit));
}
KIP_INLINE Doubles limited(Doubles a, double limit) {
  return {smaller(a.low, allDouble(limit)), smaller(a.high, allDouble(limit))};
}
// Integers below 2^52: in the low bits of the double 2^52 they make it 2^52 + integer.
KIP_INLINE Doubles toDoubles(Wide a) {
  const Vec bits = all64(0x4330000000000000);
  return Doubles{asDoubles(bitOr(a.low, bits)), asDoubles(bitOr(a.high, bits))} - all(0x1p52);
}

// ---- rows to columns, for groups of `lanes` rows

// The square of 32-bit lanes in each half of four rows.
KIP_INLINE void transposeHalves(Vec* rows) {
  const Vec low01 = interleaveLow32(rows[0], rows[1]);
  const Vec low23 = interleaveLow32(rows[2], rows[3]);
  const Vec high01 = interleaveHigh32(rows[0], rows[1]);
  const Vec high23 = interleaveHigh32(rows[2], rows[3]);
  rows[0] = interleaveLow64(low01, low23);
  rows[1] = interleaveHigh64(low01, low23);
  rows[2] = interleaveLow64(high01, high23);
  rows[3] = interleaveHigh64(high01, high23);
}

// Four neighbours of every row, whose quads are `pitch` apart, become four columns, a row to a lane.
KIP_INLINE void transposeQuads(const int32_t* rows, int64_t pitch, Vec (&column)[4]) {
  for (int64_t j = 0; j < 4; ++j) column[j] = loadHalves(rows + j * pitch, rows + (j + 4) * pitch);
  transposeHalves(column);
}

// A square of 32-bit lanes.
KIP_INLINE void transpose(Vec (&rows)[lanes]) {
  for (int64_t i = 0; i < lanes; i += 4) transposeHalves(rows + i);
  joinHalves(rows);
}

}  // namespace

}  // namespace kip
