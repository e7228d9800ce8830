// Polynomial arithmetic over GF(2) on packed words.
#include "tools/gf2_polynomial.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace gf2 {
namespace {

// dst ^= src * x^shift, growing dst as needed (by src's significant words only).
void XorShifted(Poly& dst, const Poly& src, int shift) {
  size_t n = src.size();
  while (n && !src[n - 1]) --n;
  const int words = shift / 64, bits = shift % 64;
  if (dst.size() < n + words + 1) dst.resize(n + words + 1, 0);
  if (bits == 0) {
    for (size_t i = 0; i < n; ++i) dst[i + words] ^= src[i];
    return;
  }
  uint64_t carry = 0;
  for (size_t i = 0; i < n; ++i) {
    dst[i + words] ^= (src[i] << bits) | carry;
    carry = src[i] >> (64 - bits);
  }
  dst[n + words] ^= carry;
}

// Spreads the 8 bits of a byte to the even bits of 16: squaring is linear over GF(2).
constexpr std::array<uint16_t, 256> MakeSpread() {
  std::array<uint16_t, 256> t{};
  for (int b = 0; b < 256; ++b)
    for (int i = 0; i < 8; ++i)
      if (b >> i & 1) t[b] |= static_cast<uint16_t>(1u << (2 * i));
  return t;
}
constexpr std::array<uint16_t, 256> kSpread = MakeSpread();

uint64_t SpreadHalf(uint32_t h) {
  return static_cast<uint64_t>(kSpread[h & 0xFF]) | static_cast<uint64_t>(kSpread[h >> 8 & 0xFF]) << 16 |
         static_cast<uint64_t>(kSpread[h >> 16 & 0xFF]) << 32 | static_cast<uint64_t>(kSpread[h >> 24]) << 48;
}

}  // namespace

int Degree(const Poly& p) {
  for (int i = static_cast<int>(p.size()) - 1; i >= 0; --i)
    if (p[i]) return 64 * i + 63 - __builtin_clzll(p[i]);
  return -1;
}

bool Coefficient(const Poly& p, int i) {
  return static_cast<size_t>(i / 64) < p.size() && (p[i / 64] >> (i % 64) & 1);
}

void FlipCoefficient(Poly& p, int i) {
  if (p.size() <= static_cast<size_t>(i / 64)) p.resize(i / 64 + 1, 0);
  p[i / 64] ^= uint64_t{1} << (i % 64);
}

Poly FromExponents(std::initializer_list<int> exponents) {
  Poly p;
  for (int e : exponents) FlipCoefficient(p, e);
  return p;
}

bool Same(const Poly& a, const Poly& b) {
  const size_t n = std::max(a.size(), b.size());
  for (size_t i = 0; i < n; ++i)
    if ((i < a.size() ? a[i] : 0) != (i < b.size() ? b[i] : 0)) return false;
  return true;
}

Poly Multiply(const Poly& a, const Poly& b) {
  Poly r;
  for (int i = Degree(a); i >= 0; --i)
    if (Coefficient(a, i)) XorShifted(r, b, i);
  return r;
}

Poly Remainder(Poly a, const Poly& m) {
  const int dm = Degree(m);
  for (int i = Degree(a); i >= dm; --i)
    if (Coefficient(a, i)) XorShifted(a, m, i - dm);
  a.resize(std::max(1, (dm + 63) / 64), 0);
  return a;
}

Poly Gcd(Poly a, Poly b) {
  while (Degree(b) >= 0) {
    a = Remainder(std::move(a), b);
    std::swap(a, b);
  }
  return a;
}

Poly MinimalPolynomial(const std::vector<uint8_t>& bits) {
  const int n = static_cast<int>(bits.size());
  const int words = n / 64 + 2;
  // The sequence reversed (bit j holds s[n-1-j]), so that the discrepancy at step k is the
  // parity of c & (reversed >> (n-1-k)) over the connection polynomial c (c0 = 1).
  Poly reversed(words + 1, 0);
  for (int j = 0; j < n; ++j)
    if (bits[n - 1 - j]) reversed[j / 64] |= uint64_t{1} << (j % 64);
  Poly c(words, 0), b(words, 0), t;
  c[0] = b[0] = 1;
  int length = 0, gap = 1;
  for (int k = 0; k < n; ++k) {
    const int offset = n - 1 - k, q = offset / 64, r = offset % 64;
    uint64_t acc = 0;
    for (int i = 0; i <= length / 64; ++i) {
      uint64_t window = reversed[q + i] >> r;
      if (r) window |= reversed[q + i + 1] << (64 - r);
      acc ^= c[i] & window;
    }
    if (!__builtin_parityll(acc)) {
      ++gap;
      continue;
    }
    if (2 * length <= k) {
      t = c;
      XorShifted(c, b, gap);
      length = k + 1 - length;
      b = std::move(t);
      gap = 1;
    } else {
      XorShifted(c, b, gap);
      ++gap;
    }
  }
  // Reverse c0..cL into x^L + c1 x^(L-1) + ... + cL.
  Poly p((length + 64) / 64, 0);
  for (int i = 0; i <= length; ++i)
    if (Coefficient(c, i)) FlipCoefficient(p, length - i);
  return p;
}

Modulus::Modulus(const Poly& p) : degree_(Degree(p)) {
  shift_ = (64 - degree_ % 64) % 64;
  words_ = (degree_ + shift_) / 64;
  Poly shifted;
  XorShifted(shifted, p, shift_);
  shifted.resize(words_ + 1, 0);
  // q -> q * p * x^shift is a bijection of the top byte (p's leading coefficient is 1).
  table_.assign(256 * (words_ + 1), 0);
  for (int q = 0; q < 256; ++q) {
    Poly e;
    for (int i = 0; i < 8; ++i)
      if (q >> i & 1) XorShifted(e, shifted, i);
    e.resize(words_ + 1, 0);
    const int top = static_cast<int>(e[words_] & 0xFF);
    std::copy(e.begin(), e.end(), table_.begin() + top * (words_ + 1));
  }
  wide_.assign(2 * words_ + 2, 0);
}

Poly Modulus::Encode(const Poly& a) const {
  Poly r;
  XorShifted(r, a, shift_);
  r.resize(words_, 0);
  return r;
}

Poly Modulus::Decode(const Poly& r) const {
  Poly a((degree_ + 63) / 64, 0);
  for (int i = 0; i < degree_; ++i)
    if (Coefficient(r, i + shift_)) a[i / 64] |= uint64_t{1} << (i % 64);
  return a;
}

void Modulus::Square(Poly& r) const {
  // (r x^s)^2 = r^2 x^2s; one shift right by s brings it back to r^2 x^s.
  uint64_t* w = wide_.data();
  for (int i = 0; i < words_; ++i) {
    w[2 * i] = SpreadHalf(static_cast<uint32_t>(r[i]));
    w[2 * i + 1] = SpreadHalf(static_cast<uint32_t>(r[i] >> 32));
  }
  w[2 * words_] = w[2 * words_ + 1] = 0;
  if (shift_) {
    for (int i = 0; i < 2 * words_; ++i) w[i] = w[i] >> shift_ | w[i + 1] << (64 - shift_);
  }
  // Clear bytes from the top down to the modulus boundary at byte 8 * words_.
  unsigned char* bytes = reinterpret_cast<unsigned char*>(w);
  const int entry_words = words_ + 1;
  for (int j = 16 * words_ - 1; j >= 8 * words_; --j) {
    const int top = bytes[j];
    if (!top) continue;
    const uint64_t* e = &table_[top * entry_words];
    unsigned char* at = bytes + (j - 8 * words_);
    for (int i = 0; i < entry_words; ++i) {
      uint64_t v;
      std::memcpy(&v, at + 8 * i, 8);
      v ^= e[i];
      std::memcpy(at + 8 * i, &v, 8);
    }
  }
  std::copy(w, w + words_, r.begin());
}

bool IsIrreducibleOfPrimeDegree(const Poly& p, int sieve_depth) {
  const int d = Degree(p);
  if (d < 2 || !Coefficient(p, 0)) return false;  // x divides p
  int weight = 0;
  for (uint64_t w : p) weight += __builtin_popcountll(w);
  if (weight % 2 == 0) return false;  // x + 1 divides p
  const Modulus m(p);
  const Poly x = FromExponents({1});
  Poly r = m.Encode(x);
  for (int k = 1; k <= d; ++k) {
    m.Square(r);
    // Every degree up to the depth divides some k in (depth/2, depth]; the small k come first
    // as well because small factors are the most frequent.
    if (k >= 2 && k <= sieve_depth && k < d && (k <= 16 || 2 * k > sieve_depth)) {
      Poly g = m.Decode(r);
      FlipCoefficient(g, 1);
      if (Degree(Gcd(p, std::move(g))) > 0) return false;
    }
  }
  return Same(m.Decode(r), x);
}

}  // namespace gf2
