// Polynomials of a short series by Estrin's scheme: coefficients in pairs, the pairs combined
// by powers of the argument, so that the chains are two or three steps long where Horner's
// rule takes one step per coefficient. For series on small arguments, where every term after
// the first is far below it, the order of the sum does not matter to the result.
#ifndef QOR_KERNELS_ESTRIN_H_
#define QOR_KERNELS_ESTRIN_H_

namespace tem {

// c0 + c1 v + c2 v^2, given v and v^2.
template <class V>
[[gnu::always_inline]] inline V Estrin3(V v, V v2, V c0, V c1, V c2) {
  return (c0 + c1 * v) + c2 * v2;
}

// c0 + c1 v + c2 v^2 + c3 v^3.
template <class V>
[[gnu::always_inline]] inline V Estrin4(V v, V v2, V c0, V c1, V c2, V c3) {
  return (c0 + c1 * v) + (c2 + c3 * v) * v2;
}

// c0 + c1 v + c2 v^2 + c3 v^3 + c4 v^4.
template <class V>
[[gnu::always_inline]] inline V Estrin5(V v, V v2, V c0, V c1, V c2, V c3, V c4) {
  return (c0 + c1 * v) + ((c2 + c3 * v) + c4 * v2) * v2;
}

}  // namespace tem

#endif  // QOR_KERNELS_ESTRIN_H_
