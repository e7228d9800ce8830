// MT2203 member search: primitive twist constants, then tempering masks by local search.
#include "tools/mt2203_search.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace mt2203 {
namespace {

uint64_t SplitMix(uint64_t& s) {
  uint64_t z = (s += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

struct Fixed {
  int member;
  uint32_t matrix_a, mask_b, mask_c;
};
constexpr Fixed kFixed[] = {
    {0, 0xAF81055Fu, 0xDD7EEF80u, 0xEFD78000u},    {1, 0x832604E1u, 0x66AD7F80u, 0xEBD58000u},
    {2, 0x92F70739u, 0x656D7780u, 0xEFC50000u},    {3, 0x8B75046Eu, 0x76957780u, 0xEFC48000u},
    {6022, 0x8A8C1D4Au, 0x65757780u, 0xEFE18000u}, {6023, 0xE8761D4Bu, 0x72967680u, 0xEFEB0000u},
};

// Starting points of the mask search: the fixed rows' masks, then MT19937's.
constexpr int kFixedCount = sizeof kFixed / sizeof kFixed[0];
constexpr int kStartCount = kFixedCount + 1;
std::array<uint32_t, 2> StartingMasks(int i) {
  if (i < kFixedCount) return {kFixed[i].mask_b, kFixed[i].mask_c};
  return {0x9D2C5680u, 0xEFC60000u};
}

// The rows of the tempering map as masks over the untempered bits: tempered bit j is the
// parity of y & rows[j].
std::array<uint32_t, 32> TemperingRows(uint32_t mask_b, uint32_t mask_c) {
  std::array<uint32_t, 32> rows{};
  for (int i = 0; i < 32; ++i) {
    const uint32_t column = Temper(1u << i, mask_b, mask_c);
    for (int j = 0; j < 32; ++j)
      if (column >> j & 1) rows[j] |= 1u << i;
  }
  return rows;
}

// Gaussian elimination kept in echelon form by lowest set bit: a basis row's lowest bit is its
// pivot, so reducing a row by it clears that bit and touches only higher ones, up to the basis
// row's last nonzero word (the forms of the first N outputs fill one or two words).
class Echelon {
 public:
  explicit Echelon(int words) : words_(words), pivot_(64 * words, -1) {
    basis_.reserve(64 * words * words);
  }
  // Reduces `row` (destroyed) and keeps it if independent.
  bool Insert(uint64_t* row) {
    for (int w = 0; w < words_; ++w) {
      while (row[w]) {
        const int column = 64 * w + __builtin_ctzll(row[w]);
        const int p = pivot_[column];
        if (p < 0) {
          pivot_[column] = static_cast<int>(last_.size());
          basis_.insert(basis_.end(), row, row + words_);
          int last = words_ - 1;
          while (!row[last]) --last;
          last_.push_back(last);
          return true;
        }
        const uint64_t* q = &basis_[static_cast<size_t>(p) * words_];
        for (int i = w, end = last_[p]; i <= end; ++i) row[i] ^= q[i];
      }
    }
    return false;
  }

 private:
  int words_;
  std::vector<int> pivot_, last_;
  std::vector<uint64_t> basis_;
};

}  // namespace

int Defect(const Distribution& k) {
  int d = 0;
  for (int v = 1; v <= 32; ++v) d += DistributionBound(v) - k[v - 1];
  return d;
}

uint32_t Temper(uint32_t y, uint32_t mask_b, uint32_t mask_c) {
  y ^= y >> 12;
  y ^= (y << 7) & mask_b;
  y ^= (y << 15) & mask_c;
  return y ^ (y >> 18);
}

std::vector<uint32_t> Untempered(uint32_t matrix_a, std::vector<uint32_t> x, int count) {
  x.resize(count);
  for (int t = 0; t + kN < count; ++t) {
    const uint32_t y = (x[t] & kUpper) | (x[t + 1] & kLower);
    x[t + kN] = x[t + kM] ^ (y >> 1) ^ ((x[t + 1] & 1) ? matrix_a : 0);
  }
  return x;
}

gf2::Poly CharacteristicPolynomial(uint32_t matrix_a) {
  // Bit 0 of the outputs: 2 * 2203 terms fix a minimal polynomial of degree up to 2203.
  uint64_t seed = 0x2203;
  std::vector<uint32_t> state(kN);
  for (uint32_t& w : state) w = static_cast<uint32_t>(SplitMix(seed));
  const std::vector<uint32_t> x = Untempered(matrix_a, std::move(state), 1 + 2 * kDegree);
  std::vector<uint8_t> bits(2 * kDegree);
  for (int t = 0; t < 2 * kDegree; ++t) bits[t] = x[t + 1] & 1;
  return gf2::MinimalPolynomial(bits);
}

bool IsPrimitive(const gf2::Poly& p) {
  // 2^2203 - 1 is prime: every irreducible polynomial of degree 2203 is primitive.
  return gf2::Degree(p) == kDegree && gf2::IsIrreducibleOfPrimeDegree(p, kSieveDepth);
}

Equidistribution::Equidistribution(uint32_t matrix_a) {
  // x[0] contributes its 27 upper bits (forms 0..26), x[1..68] their 32 bits each; later words
  // follow the recurrence on forms.
  const int count = kDegree + 1;
  forms_.assign(static_cast<size_t>(count) * 32 * kWords, 0);
  auto form = [&](int t, int bit) { return &forms_[(static_cast<size_t>(t) * 32 + bit) * kWords]; };
  auto set_unit = [&](int t, int bit, int index) { form(t, bit)[index / 64] |= uint64_t{1} << (index % 64); };
  for (int bit = 5; bit < 32; ++bit) set_unit(0, bit, bit - 5);
  for (int t = 1; t < kN; ++t)
    for (int bit = 0; bit < 32; ++bit) set_unit(t, bit, 27 + 32 * (t - 1) + bit);
  for (int t = 0; t + kN < count; ++t) {
    // y = (x[t] & upper) | (x[t+1] & lower); bit b of the new word takes x[t+M] bit b,
    // y bit b+1, and x[t+1] bit 0 where A has a one.
    for (int b = 0; b < 32; ++b) {
      uint64_t* out = form(t + kN, b);
      const uint64_t* m = form(t + kM, b);
      for (int i = 0; i < kWords; ++i) out[i] = m[i];
      if (b < 31) {
        const uint64_t* y = b + 1 >= 5 ? form(t, b + 1) : form(t + 1, b + 1);
        for (int i = 0; i < kWords; ++i) out[i] ^= y[i];
      }
      if (matrix_a >> b & 1) {
        const uint64_t* odd = form(t + 1, 0);
        for (int i = 0; i < kWords; ++i) out[i] ^= odd[i];
      }
    }
  }
}

int Equidistribution::Measure(uint32_t mask_b, uint32_t mask_c, int give_up, Distribution& k) const {
  const std::array<uint32_t, 32> rows = TemperingRows(mask_b, mask_c);
  uint64_t row[kWords];
  int defect = 0;
  // Large v first: their elimination is short, and a poor pair of masks shows there early.
  for (int v = 32; v >= 1; --v) {
    Echelon echelon(kWords);
    const int bound = DistributionBound(v);
    int t = 1;
    for (; t <= bound; ++t) {
      bool independent = true;
      for (int j = 31; j >= 32 - v && independent; --j) {
        std::memset(row, 0, sizeof row);
        for (uint32_t m = rows[j]; m; m &= m - 1) {
          const uint64_t* f = Form(t, __builtin_ctz(m));
          for (int i = 0; i < kWords; ++i) row[i] ^= f[i];
        }
        independent = echelon.Insert(row);
      }
      if (!independent) break;
    }
    k[v - 1] = t - 1;
    defect += bound - k[v - 1];
    if (defect > give_up) return defect;
  }
  return defect;
}

std::optional<Row> FixedRow(int member) {
  for (const Fixed& f : kFixed)
    if (f.member == member) return Row{f.member, f.matrix_a, f.mask_b, f.mask_c, {}};
  return std::nullopt;
}

Row SearchMember(int member, int mask_trials) {
  uint64_t seed = 0x6D74323230330000ull + static_cast<uint64_t>(member);
  Row row{member, 0, 0, 0, {}};
  if (const std::optional<Row> fixed = FixedRow(member)) {
    row = *fixed;
  } else {
    for (;;) {
      // Top bit set; the next 15 bits drawn; the low 16 bits carry the member.
      const uint32_t high = 0x8000u | (static_cast<uint32_t>(SplitMix(seed)) & 0x7FFFu);
      const uint32_t a = high << 16 | ((static_cast<uint32_t>(member) + kMemberTag) & 0xFFFFu);
      bool taken = false;
      for (const Fixed& f : kFixed) taken |= f.matrix_a == a;
      if (!taken && IsPrimitive(CharacteristicPolynomial(a))) {
        row.matrix_a = a;
        break;
      }
    }
  }
  const Equidistribution measure(row.matrix_a);
  if (FixedRow(member)) {
    measure.Measure(row.mask_b, row.mask_c, INT_MAX, row.k);
    return row;
  }
  // Local search by single mask bit flips, each kept when the defect does not grow: a short
  // climb from each known good pair, then a longer one from the best pair so far. The defects
  // come in steps of about N at a few v, which one flip seldom undoes, so several climbs find
  // more than one long one.
  const int short_steps = std::max(1, mask_trials / (2 * kStartCount));
  int best = INT_MAX;
  Distribution k;
  auto keep_if_best = [&](uint32_t b, uint32_t c, int defect) {
    if (defect > best) return;
    best = defect;
    row.mask_b = b;
    row.mask_c = c;
    row.k = k;
  };
  auto climb = [&](uint32_t b, uint32_t c, int current, int steps) {
    for (int step = 0; step < steps; ++step) {
      uint32_t nb = b, nc = c;
      const int bit = static_cast<int>(SplitMix(seed) % 42);
      if (bit < 25)
        nb ^= 1u << (7 + bit);
      else
        nc ^= 1u << (15 + bit - 25);
      const int defect = measure.Measure(nb, nc, current, k);
      if (defect > current) continue;
      b = nb, c = nc, current = defect;
      keep_if_best(b, c, current);
    }
  };
  for (int s = 0; s < kStartCount; ++s) {
    const auto [b, c] = StartingMasks(s);
    const int defect = measure.Measure(b, c, INT_MAX, k);
    keep_if_best(b, c, defect);
    climb(b, c, defect, short_steps - 1);
  }
  climb(row.mask_b, row.mask_c, best, mask_trials - kStartCount * short_steps);
  return row;
}

}  // namespace mt2203
