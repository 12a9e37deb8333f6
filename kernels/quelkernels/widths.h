// The widths in which kernels are compiled, and the choice of one while the process runs.
//
// A kernel is one source, compiled once per width into a namespace of that width's name. It gives the same bits at
// every width, so that the choice is one of speed alone.
#pragma once

#include <optional>
#include <string_view>

/// X(width, ...) for every width that is shipped, narrowest first; cmake/QuelKernels.cmake has the flags of each.
#if defined(__x86_64__)
#define QUEL_FOR_EACH_WIDTH(X, ...) \
  X(plain, __VA_ARGS__) X(sse2, __VA_ARGS__) X(avx2, __VA_ARGS__) X(avx512, __VA_ARGS__)
#else
#define QUEL_FOR_EACH_WIDTH(X, ...) X(plain, __VA_ARGS__)
#endif

/// Declares the kernel `name` of the function type `type` for every width: plain::name, sse2::name and so on.
#define QUEL_DECLARE_KERNEL(type, name) QUEL_FOR_EACH_WIDTH(QUEL_DECLARE_AT, type, name)
#define QUEL_DECLARE_AT(width, type, name) \
  namespace width {                        \
  extern type name;                        \
  }

/// The kernels of that name, by width: what a `quelkernels::Kernel` is made of.
#define QUEL_KERNEL_OF(name) \
  { QUEL_FOR_EACH_WIDTH(QUEL_KERNEL_AT, name) }
#define QUEL_KERNEL_AT(width, name) width::name,

namespace quelkernels {

#define QUEL_WIDTH_VALUE(width, ...) width,
#define QUEL_WIDTH_NAME(width, ...) #width,
enum class Width { QUEL_FOR_EACH_WIDTH(QUEL_WIDTH_VALUE) };
inline constexpr const char* kWidthNames[] = {QUEL_FOR_EACH_WIDTH(QUEL_WIDTH_NAME)};
#undef QUEL_WIDTH_VALUE
#undef QUEL_WIDTH_NAME

inline constexpr int kWidths = static_cast<int>(sizeof kWidthNames / sizeof *kWidthNames);

inline constexpr const char* nameOf(Width width) { return kWidthNames[static_cast<int>(width)]; }

/// True when this machine, and what runs on it, can run the kernels of `width`.
inline bool machineRuns(Width width) {
#if defined(__x86_64__)
  if (width == Width::avx2) return __builtin_cpu_supports("avx2") != 0;
  if (width == Width::avx512) {
    return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
           __builtin_cpu_supports("avx512vl") != 0;
  }
#endif
  return static_cast<int>(width) < kWidths;  // SSE2 is a part of x86-64
}

/// The widest that this machine runs.
inline Width widest() {
  int width = kWidths - 1;
  while (!machineRuns(static_cast<Width>(width))) --width;
  return static_cast<Width>(width);
}

/// The width of that name; nothing for one that is unknown or that this machine does not run.
inline std::optional<Width> runnableWidth(std::string_view name) {
  for (int width = 0; width < kWidths; ++width) {
    if (name == kWidthNames[width] && machineRuns(static_cast<Width>(width))) return static_cast<Width>(width);
  }
  return std::nullopt;
}

/// The width that the environment variable of this name asks for.
inline constexpr const char* kWidthVariable = "QUEL_KERNELS";

/// One kernel at each width.
template <typename Function>
struct Kernel {
  Function* atWidth[kWidths];

  Function* at(Width width) const { return atWidth[static_cast<int>(width)]; }
};

}  // namespace quelkernels
