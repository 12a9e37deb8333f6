// What the compiler's vector extensions do not say, or say at length: a few operations by their instruction, at each
// width. Included by Pack.h alone.
#pragma once

namespace quelkernels::QUEL_WIDTH {

#if QUEL_LANES == 8

QUEL_INLINE unsigned bitsOf(Mask mask) { return _mm512_movepi64_mask(reinterpret_cast<__m512i>(mask)); }
QUEL_INLINE Pack squareRoot(Pack value) { return _mm512_maskz_sqrt_pd(kAllLanes, value); }
QUEL_INLINE Pack larger(Pack a, Pack b) { return _mm512_maskz_max_pd(kAllLanes, a, b); }
QUEL_INLINE Pack widened(FloatPack value) { return _mm512_maskz_cvtps_pd(kAllLanes, value); }
QUEL_INLINE FloatPack rounded(Pack value) { return _mm512_maskz_cvtpd_ps(kAllLanes, value); }
QUEL_INLINE Pack widened(IntPack value) {
  return _mm512_maskz_cvtepi32_pd(kAllLanes, reinterpret_cast<__m256i>(value));
}
QUEL_INLINE IntPack truncated(Pack value) {
  return reinterpret_cast<IntPack>(_mm512_maskz_cvttpd_epi32(kAllLanes, value));
}
QUEL_INLINE void storeAround(double* to, Pack value) { _mm512_stream_pd(to, value); }

#elif QUEL_LANES == 4

QUEL_INLINE unsigned bitsOf(Mask mask) {
  return static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(mask)));
}
QUEL_INLINE Pack squareRoot(Pack value) { return _mm256_sqrt_pd(value); }
QUEL_INLINE Pack larger(Pack a, Pack b) { return _mm256_max_pd(a, b); }
QUEL_INLINE Pack widened(FloatPack value) { return _mm256_cvtps_pd(value); }
QUEL_INLINE FloatPack rounded(Pack value) { return _mm256_cvtpd_ps(value); }
QUEL_INLINE Pack widened(IntPack value) { return _mm256_cvtepi32_pd(reinterpret_cast<__m128i>(value)); }
QUEL_INLINE IntPack truncated(Pack value) { return reinterpret_cast<IntPack>(_mm256_cvttpd_epi32(value)); }
QUEL_INLINE void storeAround(double* to, Pack value) { _mm256_stream_pd(to, value); }

#else

QUEL_INLINE Pack widened(FloatPack value) { return __builtin_convertvector(value, Pack); }
QUEL_INLINE FloatPack rounded(Pack value) { return __builtin_convertvector(value, FloatPack); }
QUEL_INLINE Pack widened(IntPack value) { return __builtin_convertvector(value, Pack); }
QUEL_INLINE IntPack truncated(Pack value) { return __builtin_convertvector(value, IntPack); }

// Not around: lines that fill by so little at a time take longer on their own way than through the caches.
QUEL_INLINE void storeAround(double* to, Pack value) { store(to, value); }

#if QUEL_LANES == 2

QUEL_INLINE unsigned bitsOf(Mask mask) {
  return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(mask)));
}
QUEL_INLINE Pack squareRoot(Pack value) { return _mm_sqrt_pd(value); }
QUEL_INLINE Pack larger(Pack a, Pack b) { return _mm_max_pd(a, b); }

#else

QUEL_INLINE unsigned bitsOf(Mask mask) { return mask[0] != 0; }
QUEL_INLINE Pack squareRoot(Pack value) { return Pack{__builtin_sqrt(value[0])}; }
QUEL_INLINE Pack larger(Pack a, Pack b) { return a > b ? a : b; }

#endif
#endif

/// After the last store of a run past the caches, so that other threads see them in order.
QUEL_INLINE void finishStoresAround() {
#if defined(__x86_64__)
  _mm_sfence();
#endif
}

}  // namespace quelkernels::QUEL_WIDTH
