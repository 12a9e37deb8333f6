#include "benchmarks/avx2References.h"

#include <immintrin.h>

namespace quel::benchmarks {

namespace {

struct Points {
  __m256d x, y, z;
};

struct Pixels {
  __m256d x, y;
};

inline __m256d all(double value) { return _mm256_set1_pd(value); }

inline __m256d rowTimes(const double* row, const Points& p) {
  return _mm256_add_pd(_mm256_add_pd(_mm256_add_pd(row[0] * p.x, row[1] * p.y), row[2] * p.z), all(row[3]));
}

// x0 y0 z0 x1 | y1 z1 x2 y2 | z2 x3 y3 z3
inline Points load(const double* p) {
  const __m256d a = _mm256_loadu_pd(p), b = _mm256_loadu_pd(p + 4), c = _mm256_loadu_pd(p + 8);
  const __m256d x = _mm256_blend_pd(_mm256_blend_pd(a, b, 4), c, 2);  // x0 x3 x2 x1
  const __m256d y = _mm256_blend_pd(_mm256_blend_pd(a, b, 9), c, 4);  // y1 y0 y3 y2
  const __m256d z = _mm256_blend_pd(_mm256_blend_pd(a, b, 2), c, 9);  // z2 z1 z0 z3
  return {_mm256_permute4x64_pd(x, 0x6C), _mm256_permute4x64_pd(y, 0xB1), _mm256_permute4x64_pd(z, 0xC6)};
}

inline void store(const Pixels& p, double* to) {
  const __m256d low = _mm256_unpacklo_pd(p.x, p.y), high = _mm256_unpackhi_pd(p.x, p.y);
  _mm256_storeu_pd(to, _mm256_permute2f128_pd(low, high, 0x20));
  _mm256_storeu_pd(to + 4, _mm256_permute2f128_pd(low, high, 0x31));
}

inline Pixels distorted(const tag_qmDistortParams& m, const Pixels& p) {
  const double* e = m.distortExtra;
  const __m256d dx = _mm256_sub_pd(p.x, all(m.xp)), dy = _mm256_sub_pd(p.y, all(m.yp));
  const __m256d xx = dx * dx, yy = dy * dy, xy = dx * dy, r2 = xx + yy;
  const __m256d s = r2 * (all(m.k1) + r2 * (all(m.k2) + r2 * (all(m.k3) + r2 * (all(e[2]) + e[3] * r2))));
  const __m256d x = dx * s + m.p1 * (r2 + 2 * xx) + (2 * m.p2) * xy + e[0] * dx + e[1] * dy;
  const __m256d y = dy * s + m.p2 * (r2 + 2 * yy) + (2 * m.p1) * xy;
  return {p.x + x, p.y + y};
}

}  // namespace

bool runsAvx2() { return __builtin_cpu_supports("avx2") != 0; }

void projectByAvx2(const tag_qmReconsTensorData& tensor, const double motion[3][4], const double (*points)[3],
                   std::int64_t count, bool withLens, double (*const pixels[3])[2]) {
  for (std::int64_t n = 0; n < count; n += 4) {
    const Points p = load(points[n]);
    const Points moved = {rowTimes(motion[0], p), rowTimes(motion[1], p), rowTimes(motion[2], p)};
    for (int camera = 0; camera < 3; ++camera) {
      const auto& P = tensor.projections[camera];
      const __m256d w = rowTimes(P[2], moved);
      const Pixels pixel = {_mm256_div_pd(rowTimes(P[0], moved), w), _mm256_div_pd(rowTimes(P[1], moved), w)};
      store(withLens ? distorted(tensor.distortParams[camera], pixel) : pixel, pixels[camera][n]);
    }
  }
}

void readAndWriteByAvx2(const double (*points)[3], std::int64_t count, double (*const pixels[3])[2]) {
  constexpr std::uintptr_t kLine = 64;
  double* to[3];
  for (int camera = 0; camera < 3; ++camera) {
    to[camera] =
        reinterpret_cast<double*>((reinterpret_cast<std::uintptr_t>(pixels[camera]) + kLine - 1) / kLine * kLine);
  }
  for (std::int64_t n = 0; n + 8 <= count; n += 4) {  // four pixels are a line
    const double* p = points[n];
    const __m256d a = _mm256_loadu_pd(p), b = _mm256_loadu_pd(p + 4), c = _mm256_loadu_pd(p + 8);
    for (double* image : to) {
      _mm256_stream_pd(image + 2 * n, _mm256_xor_pd(a, c));
      _mm256_stream_pd(image + 2 * n + 4, b);
    }
  }
  _mm_sfence();
}

double divideByAvx2(std::int64_t count) {
  constexpr int kDivisions = 6;
  __m256d quotients[kDivisions];
  for (int i = 0; i < kDivisions; ++i) quotients[i] = all(1.5 + i);
  const __m256d divisor = all(1.0 + 0x1p-30);
  for (std::int64_t n = 0; n < count; n += 4) {
    for (__m256d& quotient : quotients) quotient = _mm256_div_pd(quotient, divisor);
  }
  double sum[4];
  _mm256_storeu_pd(sum, quotients[0] + quotients[1] + quotients[2] + quotients[3] + quotients[4] + quotients[5]);
  return sum[0] + sum[1] + sum[2] + sum[3];
}

void transformByAvx2(const float columns[4][4], float (*points)[4], std::int64_t count) {
  __m256 c[4];
  for (int n = 0; n < 4; ++n) c[n] = _mm256_broadcast_ps(reinterpret_cast<const __m128*>(columns[n]));
  const __m256 firstThree = _mm256_castsi256_ps(_mm256_set_epi32(0, -1, -1, -1, 0, -1, -1, -1));
  for (std::int64_t n = 0; n < count; n += 2) {
    const __m256 p = _mm256_loadu_ps(points[n]);
    const __m256 y = _mm256_mul_ps(_mm256_permute_ps(p, 0x55), c[1]), x = _mm256_mul_ps(_mm256_permute_ps(p, 0), c[0]);
    const __m256 z = _mm256_mul_ps(_mm256_permute_ps(p, 0xAA), c[2]);
    const __m256 moved = _mm256_add_ps(_mm256_add_ps(_mm256_add_ps(y, x), z), c[3]);
    _mm256_storeu_ps(points[n], _mm256_and_ps(moved, firstThree));
  }
}

}  // namespace quel::benchmarks
