// Jumps of a linear recurrence over GF(2): g(x) = x^nskip mod P(x), with P sparse, and the new
// state g(T) s formed from the generator's own step, copy and add, by Horner's rule or by an
// 8-bit sliding window over g.
#include <string.h>

#include "qor/core.h"
#include "qor/rof.h"

namespace {

constexpr int kAlignment = 128;

int Bit(const uint64_t* p, int i) { return static_cast<int>(p[i >> 6] >> (i & 63)) & 1; }

// Bits [from, from + count) of p into the low end of out, with the words of out cleared first.
void CopyBits(const uint64_t* p, int from, int count, uint64_t* out) {
  const int words = (count + 63) >> 6;
  memset(out, 0, static_cast<size_t>(words) * 8);
  const int q = from >> 6, r = from & 63;
  for (int k = 0; k < words; ++k) {
    uint64_t w = p[q + k] >> r;
    if (r != 0 && (k + 1) * 64 - r < count) w |= p[q + k + 1] << (64 - r);
    out[k] = w;
  }
  if (count & 63) out[words - 1] &= (1ull << (count & 63)) - 1;
}

void ClearBits(uint64_t* p, int from, int count) {
  for (int i = from; i < from + count; ++i) p[i >> 6] &= ~(1ull << (i & 63));
}

// p ^= bits << at, for bits of `count` bits.
void XorBitsAt(uint64_t* p, int at, const uint64_t* bits, int count) {
  const int words = (count + 63) >> 6, q = at >> 6, r = at & 63;
  for (int k = 0; k < words; ++k) {
    p[q + k] ^= bits[k] << r;
    if (r != 0 && bits[k] >> (64 - r)) p[q + k + 1] ^= bits[k] >> (64 - r);
  }
}

// The 32 bits of v spread to the even bits of a 64-bit word: the square of a polynomial of
// GF(2), by interleaving with zeros.
uint64_t Spread(uint64_t v) {
  v = (v | (v << 16)) & 0x0000FFFF0000FFFFull;
  v = (v | (v << 8)) & 0x00FF00FF00FF00FFull;
  v = (v | (v << 4)) & 0x0F0F0F0F0F0F0F0Full;
  v = (v | (v << 2)) & 0x3333333333333333ull;
  return (v | (v << 1)) & 0x5555555555555555ull;
}

struct Polynomial {
  int degree, term_count;
  const uint32_t* terms;
  const uint64_t* dense;  // bit e set for each exponent e
  uint64_t* slice;        // room for one slice
};

// Squares p, of degree below `degree`, in place: from the top word down, word k goes to words
// 2k and 2k + 1, above everything still to be read.
void Square(uint64_t* p, int degree) {
  for (int k = (degree - 1) >> 6; k >= 0; --k) {
    const uint64_t w = p[k];
    p[2 * k + 1] = Spread(w >> 32);
    p[2 * k] = Spread(w & 0xFFFFFFFFu);
  }
}

// Reduces p, of degree at most `top`, modulo P. Each slice of bits at and above the degree is
// lifted out and folded back by x^degree = sum of the lower terms; a slice is no wider than
// the gap between the two top exponents, so nothing folds back into it.
void Reduce(uint64_t* p, int top, const Polynomial& poly) {
  const int d = poly.degree;
  const int gap = d - poly.terms[poly.term_count - 2];
  while (top >= d) {
    if (!Bit(p, top)) {
      --top;
      continue;
    }
    const int base = top - gap + 1 > d ? top - gap + 1 : d;
    const int width = top - base + 1;
    CopyBits(p, base, width, poly.slice);
    ClearBits(p, base, width);
    for (int t = 0; t < poly.term_count - 1; ++t)
      XorBitsAt(p, static_cast<int>(poly.terms[t]) + base - d, poly.slice, width);
    top = base - 1;
  }
}

int TopBit(const uint64_t* p, int words) {
  for (int k = words - 1; k >= 0; --k)
    if (p[k] != 0) return 64 * k + 63 - __builtin_clzll(p[k]);
  return -1;
}

// The buffers of one jump, freed in reverse order of their allocation.
struct Buffers {
  void* block[4] = {};
  int count = 0;
  void* Take(size_t bytes) {
    void* p = qor_serv_allocate(bytes, kAlignment);
    if (p != nullptr) block[count++] = p;
    return p;
  }
  ~Buffers() {
    while (count > 0) qor_serv_deallocate(block[--count]);
  }
};

}  // namespace

extern "C" {

QOR_API int __rofPolyRem(uint64_t nskip, int degree, int termCount, const uint32_t terms[],
                         int polyWords, uint64_t out[]) {
  memset(out, 0, static_cast<size_t>(polyWords) * 8);
  if (nskip < static_cast<uint64_t>(degree)) {
    out[nskip >> 6] = 1ull << (nskip & 63);
    return ROF_STATUS_OK;
  }
  const int poly_words = (degree + 64) >> 6;
  uint64_t* work =
      static_cast<uint64_t*>(qor_serv_allocate(static_cast<size_t>(poly_words) * 200, kAlignment));
  if (work == nullptr) return ROF_STATUS_NO_MEMORY;
  memset(work, 0, static_cast<size_t>(poly_words) * 8);
  for (int t = 0; t < termCount; ++t) work[terms[t] >> 6] ^= 1ull << (terms[t] & 63);
  const Polynomial poly = {degree, termCount, terms, work, work + poly_words};

  out[0] = 2;  // x
  for (int bit = 62 - __builtin_clzll(nskip); bit >= 0; --bit) {
    Square(out, degree);
    Reduce(out, 2 * degree - 2, poly);
    if ((nskip >> bit) & 1) {
      for (int k = poly_words - 1; k > 0; --k) out[k] = (out[k] << 1) | (out[k - 1] >> 63);
      out[0] <<= 1;
      if (Bit(out, degree))
        for (int k = 0; k < poly_words; ++k) out[k] ^= work[k];
    }
  }
  qor_serv_deallocate(work);
  return ROF_STATUS_OK;
}

QOR_API int __rof_SkipAheadHorner(void* stream, rofJumpZeroFn, rofJumpAddFn add, rofJumpCopyFn copy,
                                  rofJumpStepFn step, rofJumpFinishFn finish,
                                  rofJumpPrepareFn prepare, rofSkipAheadDesc* desc) {
  if (desc->nskip == 0) return ROF_STATUS_OK;
  int flag = 0;
  if (prepare(stream, desc, &flag) == 0) return ROF_STATUS_OK;
  Buffers buffers;
  uint64_t* g = static_cast<uint64_t*>(buffers.Take(static_cast<size_t>(desc->polyWords) * 8));
  if (g == nullptr) return ROF_STATUS_NO_MEMORY;
  void* work = buffers.Take(static_cast<size_t>(desc->stateBytes));
  if (work == nullptr) return ROF_STATUS_NO_MEMORY;
  if (__rofPolyRem(desc->nskip, desc->degree, desc->termCount, desc->terms, desc->polyWords, g) !=
      ROF_STATUS_OK)
    return ROF_STATUS_NO_MEMORY;
  // g(T) s = (...((s T + g_{top-1} s) T + ...) T + g_0 s, with the top coefficient 1.
  const int top = TopBit(g, desc->polyWords);
  copy(work, stream, 0);
  step(work);
  for (int i = top - 1; i >= 1; --i) {
    if (Bit(g, i)) add(work, stream, 0);
    step(work);
  }
  if (Bit(g, 0)) add(work, stream, 0);
  finish(stream, work, flag);
  return ROF_STATUS_OK;
}

QOR_API int __rof_SkipAheadSWin(void* stream, rofJumpZeroFn zero, rofJumpAddFn add,
                                rofJumpCopyFn copy, rofJumpStepFn step, rofJumpFinishFn finish,
                                rofJumpPrepareFn prepare, rofSkipAheadDesc* desc) {
  constexpr int kWindowBits = 7, kEntries = 1 << kWindowBits;
  if (desc->nskip == 0) return ROF_STATUS_OK;
  int flag = 0;
  if (prepare(stream, desc, &flag) == 0) return ROF_STATUS_OK;
  const size_t state_bytes = static_cast<size_t>(desc->stateBytes);
  Buffers buffers;
  uint64_t* g = static_cast<uint64_t*>(buffers.Take(static_cast<size_t>(desc->polyWords) * 8));
  if (g == nullptr) return ROF_STATUS_NO_MEMORY;
  char* temp = static_cast<char*>(buffers.Take(state_bytes));
  if (temp == nullptr) return ROF_STATUS_NO_MEMORY;
  char* table = static_cast<char*>(buffers.Take(state_bytes * kEntries));
  if (table == nullptr) return ROF_STATUS_NO_MEMORY;
  char* acc = static_cast<char*>(buffers.Take(state_bytes));
  if (acc == nullptr) return ROF_STATUS_NO_MEMORY;
  if (__rofPolyRem(desc->nskip, desc->degree, desc->termCount, desc->terms, desc->polyWords, g) !=
      ROF_STATUS_OK)
    return ROF_STATUS_NO_MEMORY;

  // T[w] = (x^7 + w(x)) s for the 7-bit windows w, visited in a reflected Gray code whose bit 64
  // changes first, so that each entry is its predecessor plus one x^k s.
  auto entry = [&](int w) { return table + state_bytes * static_cast<size_t>(w); };
  copy(entry(0), stream, 0);
  for (int k = 0; k < kWindowBits; ++k) step(entry(0));
  int previous = 0;
  for (int i = 1; i < kEntries; ++i) {
    int gray = i ^ (i >> 1), reflected = 0;
    for (int k = 0; k < kWindowBits; ++k) reflected |= ((gray >> k) & 1) << (kWindowBits - 1 - k);
    int change = 0;
    while (((previous ^ reflected) >> change) != 1) ++change;
    copy(temp, stream, 0);
    for (int k = 0; k < change; ++k) step(temp);
    copy(entry(reflected), entry(previous), 0);
    add(entry(reflected), temp, 0);
    previous = reflected;
  }

  zero(acc);
  int i = TopBit(g, desc->polyWords);
  while (i > kWindowBits) {
    step(acc);
    if (!Bit(g, i)) {
      --i;
      continue;
    }
    for (int k = 0; k < kWindowBits; ++k) step(acc);
    int w = 0;
    for (int k = 1; k <= kWindowBits; ++k) w = (w << 1) | Bit(g, i - k);
    add(acc, entry(w), 0);
    i -= kWindowBits + 1;
  }
  for (; i >= 0; --i) {
    step(acc);
    if (Bit(g, i)) add(acc, stream, 0);
  }
  finish(stream, acc, flag);
  return ROF_STATUS_OK;
}

}  // extern "C"
