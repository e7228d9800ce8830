// GF(2) irreducibility against trial division on small degrees.
#include "tools/gf2_polynomial.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using gf2::Poly;

Poly RandomPoly(std::mt19937_64& rng, int degree) {
  Poly p(degree / 64 + 1, 0);
  for (uint64_t& w : p) w = rng();
  if (degree % 64 != 63) p.back() &= (uint64_t{1} << (degree % 64 + 1)) - 1;
  p.back() |= uint64_t{1} << (degree % 64);
  return p;
}

// Irreducible iff no polynomial of degree 1 to d/2 divides it.
bool IrreducibleByTrialDivision(const Poly& p) {
  const int d = gf2::Degree(p);
  for (uint64_t q = 2; q < (uint64_t{1} << (d / 2 + 1)); ++q)
    if (gf2::Degree(gf2::Remainder(p, Poly{q})) < 0) return false;
  return true;
}

TEST(Gf2PolynomialTest, IrreducibilityOfKnownPolynomials) {
  const struct { std::initializer_list<int> exponents; bool irreducible; } cases[] = {
      {{31, 3, 0}, true},       {{31, 6, 0}, true},  {{31, 7, 0}, true},   {{31, 13, 0}, true},
      {{31, 28, 0}, true},      {{31, 1, 0}, false}, {{31, 2, 0}, false},  {{31, 3, 2, 1, 0}, true},
      {{13, 4, 3, 1, 0}, true}, {{7, 1, 0}, true},   {{7, 3, 0}, true},    {{7, 2, 0}, false},
      {{89, 38, 0}, true},      {{127, 1, 0}, true}, {{127, 2, 0}, false},
  };
  for (const auto& c : cases) {
    const Poly p = gf2::FromExponents(c.exponents);
    EXPECT_EQ(gf2::IsIrreducibleOfPrimeDegree(p, 0), c.irreducible) << gf2::Degree(p) << " " << p[0];
    EXPECT_EQ(gf2::IsIrreducibleOfPrimeDegree(p, 16), c.irreducible) << gf2::Degree(p) << " " << p[0];
    if (gf2::Degree(p) <= 31) EXPECT_EQ(IrreducibleByTrialDivision(p), c.irreducible);
  }
}

TEST(Gf2PolynomialTest, IrreducibilityOfRandomPolynomialsMatchesTrialDivision) {
  std::mt19937_64 rng(11);
  int irreducible = 0;
  for (int degree : {5, 13, 17, 19, 23}) {
    for (int i = 0; i < 60; ++i) {
      const Poly p = RandomPoly(rng, degree);
      const bool expected = IrreducibleByTrialDivision(p);
      irreducible += expected;
      ASSERT_EQ(gf2::IsIrreducibleOfPrimeDegree(p, 8), expected) << degree << " " << p[0];
    }
  }
  EXPECT_GT(irreducible, 10);  // the sample holds both kinds
}

}  // namespace
