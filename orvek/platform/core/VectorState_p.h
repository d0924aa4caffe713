#pragma once

// No stand-in: a guard of this library's own speed on x86-64, with the
// vzeroupper instruction. Qt's and the C library's wide vector routines may
// return with the upper halves of the AVX registers in use; the SSE code
// that follows then runs far slower (about 1.7 times here) until they are
// cleared. The hot loops that follow Qt's drawing clear them first.

namespace orvek_core {

inline void ClearUpperVectorState() {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
  // vzeroupper keeps the SSE halves, the only part this code uses.
  static const bool avx = __builtin_cpu_supports("avx");
  if (avx) __asm__ volatile("vzeroupper");
#endif
}

}  // namespace orvek_core
