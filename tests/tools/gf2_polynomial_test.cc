// GF(2) irreducibility against trial division; degree 2203 is exercised by the MT2203 tests.
#include "tools/gf2_polynomial.h"

#include <gtest/gtest.h>

#include <random>

namespace {

// Irreducible iff no polynomial of degree 1 to d/2 divides it; with and without the gcd sieve.
TEST(Gf2PolynomialTest, IrreducibilityMatchesTrialDivision) {
  std::mt19937_64 rng(11);
  int irreducible = 0;
  for (int degree : {5, 13, 17, 19, 23}) {
    for (int i = 0; i < 60; ++i) {
      const gf2::Poly p{rng() >> (63 - degree) | uint64_t{1} << degree};  // degree + 1 bits
      bool expected = true;
      for (uint64_t q = 2; q < (uint64_t{1} << (degree / 2 + 1)); ++q)
        expected &= gf2::Degree(gf2::Remainder(p, gf2::Poly{q})) >= 0;
      irreducible += expected;
      ASSERT_EQ(gf2::IsIrreducibleOfPrimeDegree(p, 8), expected) << degree << " " << p[0];
      ASSERT_EQ(gf2::IsIrreducibleOfPrimeDegree(p, 0), expected) << degree << " " << p[0];
    }
  }
  EXPECT_GT(irreducible, 10);  // the sample holds both kinds
  // Beyond trial division: trinomials of degree 127, over two words.
  EXPECT_TRUE(gf2::IsIrreducibleOfPrimeDegree(gf2::FromExponents({127, 1, 0}), 16));
  EXPECT_FALSE(gf2::IsIrreducibleOfPrimeDegree(gf2::FromExponents({127, 2, 0}), 16));
}

}  // namespace
