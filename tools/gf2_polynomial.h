// Polynomials over GF(2) packed 64 coefficients to a word (bit i of the array is the coefficient
// of x^i): the arithmetic that the twister parameter search needs.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace gf2 {

using Poly = std::vector<uint64_t>;

// -1 for the zero polynomial.
int Degree(const Poly& p);
bool Coefficient(const Poly& p, int i);
void FlipCoefficient(Poly& p, int i);
Poly FromExponents(std::initializer_list<int> exponents);
// Equal as polynomials, whatever the number of trailing zero words.
bool Same(const Poly& a, const Poly& b);

Poly Multiply(const Poly& a, const Poly& b);
Poly Remainder(Poly a, const Poly& m);
Poly Gcd(Poly a, Poly b);

// Berlekamp-Massey: the minimal polynomial x^L + c1 x^(L-1) + ... + cL of the bit sequence,
// i.e. s[n] = c1 s[n-1] + ... + cL s[n-L] for every n >= L. 2L bits determine it.
Poly MinimalPolynomial(const std::vector<uint8_t>& bits);

// Squaring modulo a fixed p of degree d >= 2. A residue r is held as r * x^shift in `words`
// words, where d + shift is a multiple of 64: the modulus then ends on a word boundary, and the
// reduction removes the product's upper half a byte at a time with one table of 256 multiples
// of p (about 2.3 KB per 64 bits of degree).
class Modulus {
 public:
  explicit Modulus(const Poly& p);
  int degree() const { return degree_; }
  Poly Encode(const Poly& a) const;  // a of degree below d
  Poly Decode(const Poly& r) const;
  void Square(Poly& r) const;

 private:
  int degree_, shift_, words_;
  std::vector<uint64_t> table_;  // entry b: the multiple of p * x^shift whose top byte is b
  mutable std::vector<uint64_t> wide_;
};

// Irreducibility for a prime degree d: p(0) = p(1) = 1 and x^(2^d) = x mod p, after a sieve
// that rejects a factor of degree up to `sieve_depth` by gcds with x^(2^k) - x, k <= sieve_depth.
// When 2^d - 1 is prime too, irreducible means primitive.
bool IsIrreducibleOfPrimeDegree(const Poly& p, int sieve_depth);

}  // namespace gf2
