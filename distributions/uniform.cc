// The generators that read a basic generator directly: uniform on [a, b) in three types, and
// the raw, 32-bit and 64-bit bit generators.
#include <emmintrin.h>
#include <stdint.h>

#include "distributions/frame.h"
#include "qor/rof.h"

namespace rof {
namespace dist {
namespace {

const rofBrngProperties& RowOf(const void* stream, int* row) {
  int sub_id;
  const int brng = static_cast<const rofStreamHeader*>(stream)->brng;
  return __rofGetBrngBaseOffset(brng, row, &sub_id)[*row];
}
const rofBrngProperties& RowOf(const void* stream) {
  int row;
  return RowOf(stream, &row);
}

int Generate(void* stream, int n, float* r, float a, float b) {
  return RowOf(stream).sBrng(stream, n, r, a, b);
}
int Generate(void* stream, int n, double* r, double a, double b) {
  return RowOf(stream).dBrng(stream, n, r, a, b);
}

// Results outside [a, b], from rounding at the ends, are pulled back in; NaNs stay.
template <class T>
int UniformOf(int method, void* stream, int n, T* r, T a, T b) {
  const int status = Generate(stream, n, r, a, b);
  if (status < 0 || (method & ROF_ACCURATE_BIT) == 0 || n < 1) return status;
  for (int i = 0; i < n; ++i) {
    const T x = r[i];
    const T m = a > x ? a : x;
    if (m > b || a > x) r[i] = b < m ? b : m;
  }
  return status;
}

// Truncation to 32 bits as the processor does it: out of range gives 0x80000000.
inline int32_t Truncate(double x) { return _mm_cvttsd_si32(_mm_set_sd(x)); }

inline constexpr int kIntegerBlock = 1024;
inline constexpr int kBitsBlock = 2048;

// Families of the built-in rows, by row number, and what the bit generators do with them.
enum class Bits { kUnsupported, kDirect, kReduced };
constexpr Bits kBitsByRow[16] = {
    Bits::kUnsupported, Bits::kUnsupported, Bits::kUnsupported, Bits::kReduced,   // MCG59: 3
    Bits::kUnsupported, Bits::kUnsupported, Bits::kUnsupported, Bits::kDirect,    // MT19937: 7
    Bits::kDirect,      Bits::kUnsupported, Bits::kUnsupported, Bits::kUnsupported,
    Bits::kDirect,      Bits::kDirect,      Bits::kDirect,      Bits::kDirect};

Bits BitsOf(const void* stream) {
  int row;
  RowOf(stream, &row);
  return row >= 0 && row < 16 ? kBitsByRow[row] : Bits::kUnsupported;
}

// The 32 bits above bit 26 of MCG59's 64-bit words, `count` 32-bit results in all: whole
// blocks of 2048 words, then one call for the rest, made also when the rest is empty.
int ReducedBits(int method, void* stream, int count, int blocks, uint32_t* r) {
  uint64_t buffer[kBitsBlock];
  auto reduce = [&](int length) {
    const int status =
        _rofiRngUniformBits(method, stream, length, reinterpret_cast<unsigned int*>(buffer));
    if (status >= 0) {
      for (int j = 0; j < length; ++j) r[j] = static_cast<uint32_t>(buffer[j] >> 27);
      r += length;
    }
    return status;
  };
  for (int block = 0; block < blocks; ++block) {
    const int status = reduce(kBitsBlock);
    if (status < 0) return status;
  }
  return reduce(count - kBitsBlock * blocks);
}

}  // namespace
}  // namespace dist
}  // namespace rof

using rof::dist::Bits;

extern "C" {

QOR_API int _rofsRngUniform(int method, void* stream, int n, float r[], float a, float b) {
  return rof::dist::UniformOf(method, stream, n, r, a, b);
}

QOR_API int _rofdRngUniform(int method, void* stream, int n, double r[], double a, double b) {
  return rof::dist::UniformOf(method, stream, n, r, a, b);
}

QOR_API int _rofiRngUniform(int /*method*/, void* stream, int n, int r[], int a, int b) {
  if (n < 1) return ROF_STATUS_OK;
  double buffer[rof::dist::kIntegerBlock];
  int status = ROF_STATUS_OK;
  for (int done = 0; done < n;) {
    const int block = n - done < rof::dist::kIntegerBlock ? n - done : rof::dist::kIntegerBlock;
    status = _rofdRngUniform(0, stream, block, buffer, a, b);
    if (status < 0) return status;
    for (int i = 0; i < block; ++i) {
      double floor = rof::dist::Truncate(buffer[i]);
      if (floor > buffer[i]) floor += -1.0;
      r[done + i] = rof::dist::Truncate(floor);
    }
    done += block;
  }
  return status;
}

QOR_API int _rofiRngUniformBits(int /*method*/, void* stream, int n, unsigned int r[]) {
  return rof::dist::RowOf(stream).iBrng(stream, n, r);
}

QOR_API int _rofiRngUniformBits32(int method, void* stream, int n, unsigned int r[]) {
  switch (rof::dist::BitsOf(stream)) {
    case Bits::kDirect: return _rofiRngUniformBits(method, stream, n, r);
    case Bits::kReduced:
      return rof::dist::ReducedBits(method, stream, n, n / rof::dist::kBitsBlock, r);
    case Bits::kUnsupported: break;
  }
  return ROF_STATUS_BRNG_UNSUITABLE;
}

// A 64-bit result is two consecutive 32-bit results, the first the low half.
QOR_API int _rofiRngUniformBits64(int method, void* stream, int n, unsigned long long r[]) {
  unsigned int* words = reinterpret_cast<unsigned int*>(r);
  switch (rof::dist::BitsOf(stream)) {
    case Bits::kDirect: return _rofiRngUniformBits(method, stream, 2 * n, words);
    case Bits::kReduced: return rof::dist::ReducedBits(method, stream, 2 * n, n / 1024, words);
    case Bits::kUnsupported: break;
  }
  return ROF_STATUS_BRNG_UNSUITABLE;
}

}  // extern "C"
