// The vector type of the kernels: `kLanes` doubles side by side, on which +, -, * and / work lane by lane.
//
// Kernel sources alone include it. They are compiled once per width, so everything here is of that width's own
// namespace and forced inline: nothing compiled for a wide machine may be what the linker picks for a narrow one. For
// the same reason kernels call no inline function of any other header.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#define QUEL_INLINE static inline __attribute__((always_inline, unused))

namespace quelkernels::QUEL_WIDTH {

constexpr int kLanes = QUEL_LANES;
constexpr unsigned kAllLanes = (1U << kLanes) - 1;
using Lanes = std::make_index_sequence<kLanes>;

typedef double Pack __attribute__((vector_size(8 * QUEL_LANES)));
typedef float FloatPack __attribute__((vector_size(4 * QUEL_LANES)));
typedef std::int32_t IntPack __attribute__((vector_size(4 * QUEL_LANES)));
typedef std::int64_t Mask __attribute__((vector_size(8 * QUEL_LANES)));  // of comparisons: all bits of a lane, or none

// The same in memory, wherever doubles may lie.
typedef double PackInMemory __attribute__((vector_size(8 * QUEL_LANES), aligned(8), may_alias));
typedef std::int32_t IntPackInMemory __attribute__((vector_size(4 * QUEL_LANES), aligned(4), may_alias));
typedef float FloatPackInMemory __attribute__((vector_size(4 * QUEL_LANES), aligned(4), may_alias));

QUEL_INLINE Pack load(const double* from) { return *reinterpret_cast<const PackInMemory*>(from); }
QUEL_INLINE void store(double* to, Pack value) { *reinterpret_cast<PackInMemory*>(to) = value; }
QUEL_INLINE FloatPack load(const float* from) { return *reinterpret_cast<const FloatPackInMemory*>(from); }
QUEL_INLINE void store(float* to, FloatPack value) { *reinterpret_cast<FloatPackInMemory*>(to) = value; }
QUEL_INLINE void store(std::int32_t* to, IntPack value) { *reinterpret_cast<IntPackInMemory*>(to) = value; }

QUEL_INLINE Pack everyLane(double value) { return value - Pack{}; }

}  // namespace quelkernels::QUEL_WIDTH

// bitsOf(mask): bit n is that of lane n. larger(a, b): a > b ? a : b. storeAround(to, value): past the caches, to a
// place aligned to the pack's size, for results that nobody reads soon.
#include "quelkernels/instructions.h"

namespace quelkernels::QUEL_WIDTH {

/// Each lane of `a` where `mask` is set, of `b` elsewhere.
QUEL_INLINE Pack select(Mask mask, Pack a, Pack b) { return mask ? a : b; }

QUEL_INLINE Mask isFinite(Pack value) { return value - value == Pack{}; }

QUEL_INLINE Pack magnitude(Pack value) {
  const Mask all = {};
  return reinterpret_cast<Pack>(reinterpret_cast<Mask>(value) & ((all - 1) ^ INT64_MIN));
}

/// The bits of the first `count` lanes, of all for more than there are.
QUEL_INLINE unsigned firstLanes(std::int64_t count) { return count >= kLanes ? kAllLanes : (1U << count) - 1; }

/// The numbers of pixels or points that lie one after the other.
template <typename Number, std::size_t N>
QUEL_INLINE Number* flat(Number (*values)[N]) {
  return reinterpret_cast<Number*>(values);
}

struct PackOf2 {
  Pack x, y;
};

struct PackOf3 {
  Pack x, y, z;
};

// Lanes in split order: even lanes hold the first half of the points or pixels, odd lanes the second. What works lane
// by lane does not mind, and pixels are taken apart and put together by the two cheapest instructions there are.

/// Which point or pixel is in `lane` in split order.
constexpr int splitOrder(int lane) { return kLanes == 1 ? 0 : lane % 2 * (kLanes / 2) + lane / 2; }

/// Element 3 i + `Component` of a, b, c laid end to end, with lane n holding that of i = `Point`s n-th.
template <int Component, int... Point, std::size_t... N>
QUEL_INLINE Pack everyThird(Pack a, Pack b, Pack c, std::integer_sequence<int, Point...>, std::index_sequence<N...>) {
  constexpr int kEnd = 2 * kLanes;
  const Pack fromTwo = __builtin_shufflevector(a, b, (3 * Point + Component < kEnd ? 3 * Point + Component : 0)...);
  return __builtin_shufflevector(fromTwo, c,
                                 (3 * Point + Component < kEnd ? int{N} : 3 * Point + Component - kLanes)...);
}

template <int... Point>
QUEL_INLINE PackOf3 loadPointsAs(const double (*points)[3], std::integer_sequence<int, Point...> order) {
  const double* from = flat(points);
  const Pack a = load(from), b = load(from + kLanes), c = load(from + 2 * kLanes);
  return {everyThird<0>(a, b, c, order, Lanes{}), everyThird<1>(a, b, c, order, Lanes{}),
          everyThird<2>(a, b, c, order, Lanes{})};
}

template <std::size_t... N>
constexpr std::integer_sequence<int, splitOrder(int{N})...> inSplitOrder(std::index_sequence<N...>);

/// `kLanes` points that lie one after the other.
QUEL_INLINE PackOf3 loadPoints(const double (*points)[3]) {
  return loadPointsAs(points, std::make_integer_sequence<int, kLanes>{});
}

/// The same in split order.
QUEL_INLINE PackOf3 loadPointsSplit(const double (*points)[3]) {
  return loadPointsAs(points, decltype(inSplitOrder(Lanes{})){});
}

/// Even elements of a and b in turn (`Odd` 0), or odd ones (1): of a in even lanes, of b in odd lanes.
template <int Odd, std::size_t... N>
QUEL_INLINE Pack inTurn(Pack a, Pack b, std::index_sequence<N...>) {
  return __builtin_shufflevector(a, b, (kLanes == 1 ? Odd : int{N} / 2 * 2 + Odd + int{N} % 2 * kLanes)...);
}

/// `kLanes` pixels that lie one after the other, in split order.
QUEL_INLINE PackOf2 loadPixelsSplit(const double (*pixels)[2]) {
  const Pack a = load(flat(pixels)), b = load(flat(pixels) + kLanes);
  return {inTurn<0>(a, b, Lanes{}), inTurn<1>(a, b, Lanes{})};
}

QUEL_INLINE void storePixelsSplit(double (*to)[2], PackOf2 pixels) {
  store(flat(to), inTurn<0>(pixels.x, pixels.y, Lanes{}));
  store(flat(to) + kLanes, inTurn<1>(pixels.x, pixels.y, Lanes{}));
}

/// The same past the caches, to a place aligned to the pack's size.
QUEL_INLINE void storePixelsSplitAround(double (*to)[2], PackOf2 pixels) {
  storeAround(flat(to), inTurn<0>(pixels.x, pixels.y, Lanes{}));
  storeAround(flat(to) + kLanes, inTurn<1>(pixels.x, pixels.y, Lanes{}));
}

template <std::size_t... N>
QUEL_INLINE PackOf2 everySecond(Pack a, Pack b, std::index_sequence<N...>) {
  return {__builtin_shufflevector(a, b, 2 * int{N}...), __builtin_shufflevector(a, b, 2 * int{N} + 1 ...)};
}

/// `kLanes` pixels that lie one after the other.
QUEL_INLINE PackOf2 loadPixels(const double (*pixels)[2]) {
  return everySecond(load(flat(pixels)), load(flat(pixels) + kLanes), Lanes{});
}

template <std::size_t... N>
QUEL_INLINE PackOf2 everySecond(FloatPack a, FloatPack b, std::index_sequence<N...>) {
  return {widened(__builtin_shufflevector(a, b, 2 * int{N}...)),
          widened(__builtin_shufflevector(a, b, 2 * int{N} + 1 ...))};
}

/// `kLanes` pairs that lie one after the other.
QUEL_INLINE PackOf2 loadPairs(const float (*pairs)[2]) {
  return everySecond(load(flat(pairs)), load(flat(pairs) + kLanes), Lanes{});
}

/// The first of the points, as many as `lanes` has bits; the others are 0.
QUEL_INLINE PackOf3 loadFirstPoints(const double (*points)[3], unsigned lanes) {
  PackOf3 some = {};
  for (int n = 0; n < kLanes && (lanes >> n & 1U) != 0; ++n) {
    some.x[n] = points[n][0];
    some.y[n] = points[n][1];
    some.z[n] = points[n][2];
  }
  return some;
}

/// The first of the pixels, as many as `lanes` has bits; the others are 0.
QUEL_INLINE PackOf2 loadFirstPixels(const double (*pixels)[2], unsigned lanes) {
  PackOf2 some = {};
  for (int n = 0; n < kLanes && (lanes >> n & 1U) != 0; ++n) {
    some.x[n] = pixels[n][0];
    some.y[n] = pixels[n][1];
  }
  return some;
}

QUEL_INLINE PackOf2 loadSomePixels(const double (*pixels)[2], unsigned lanes) {
  return lanes == kAllLanes ? loadPixels(pixels) : loadFirstPixels(pixels, lanes);
}

/// The first numbers, as many as `lanes` has bits; the others are 0.
QUEL_INLINE FloatPack loadFirst(const float* from, unsigned lanes) {
  FloatPack some = {};
  for (int n = 0; n < kLanes && (lanes >> n & 1U) != 0; ++n) some[n] = from[n];
  return some;
}

/// x0 y0 x1 y1 ..., the half from element `First` on.
template <int First, std::size_t... N>
QUEL_INLINE Pack alternating(PackOf2 p, std::index_sequence<N...>) {
  return __builtin_shufflevector(p.x, p.y, ((int{N} + First) % 2 * kLanes + (int{N} + First) / 2)...);
}

QUEL_INLINE void storePixels(double (*to)[2], PackOf2 pixels) {
  store(flat(to), alternating<0>(pixels, Lanes{}));
  store(flat(to) + kLanes, alternating<kLanes>(pixels, Lanes{}));
}

/// Stores the lanes whose bit is set.
QUEL_INLINE void storePixelsWhere(unsigned lanes, double (*to)[2], PackOf2 pixels) {
  for (int n = 0; n < kLanes; ++n) {
    if ((lanes >> n & 1U) == 0) continue;
    to[n][0] = pixels.x[n];
    to[n][1] = pixels.y[n];
  }
}

/// A byte for each of the first lanes, as many as `lanes` has bits: whether its bit is set.
QUEL_INLINE void noteLanes(std::uint8_t* notes, unsigned set, unsigned lanes) {
  for (int n = 0; n < kLanes && (lanes >> n & 1U) != 0; ++n) notes[n] = static_cast<std::uint8_t>(set >> n & 1U);
}

}  // namespace quelkernels::QUEL_WIDTH
