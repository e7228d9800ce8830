// The vector functions under accuracy test, one row each: MPFR and libm references, the typical
// range and the function's own thresholds (statuses are tested with the kernels).
#ifndef QOR_TESTS_ACCURACY_FUNCTION_TABLE_H_
#define QOR_TESTS_ACCURACY_FUNCTION_TABLE_H_

#include <mpfr.h>

#include <random>
#include <string>
#include <vector>

namespace accuracy {

using MpfrUnary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using MpfrBinary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);
using LibmUnary = double (*)(double);

struct Range { double lo, hi; };

// One input pair of a row's own draw, for a float or a double kernel.
using PairDraw = void (*)(std::mt19937_64& engine, bool single, double& a, double& b);

struct FunctionRow {
  // One input; `libm` (exact when `libm_exact`) is the double function, far below a float ulp
  // off, that the all-floats sweep of `s` rows uses (nullptr: MPFR only).
  FunctionRow(std::string name, MpfrUnary exact, LibmUnary libm, Range typical,
              std::vector<double> boundaries = {}, bool libm_exact = false)
      : name(std::move(name)), unary(exact), libm(libm), libm_exact(libm_exact),
        typical(typical), boundaries(std::move(boundaries)) {}
  // Two inputs, drawn alike.
  FunctionRow(std::string name, MpfrBinary exact, Range typical,
              std::vector<double> boundaries = {})
      : name(std::move(name)), binary(exact), typical(typical),
        boundaries(std::move(boundaries)) {}

  char type() const { return name[0]; }
  // The function whose kernels the row measures: "dSinCos" for "dSinCos_cos".
  std::string function() const { return name.substr(0, name.find('_')); }
  int arity() const { return binary != nullptr ? 2 : 1; }

  std::string name;  // "dExp": the kernels are _temdExp, _temdExp_HA, ... and _temdExpI, ...
  // 0 for a kernel of one result; 1 or 2 for that result of a kernel of two ("dSinCos_sin").
  int result = 0;
  MpfrUnary unary = nullptr;
  MpfrBinary binary = nullptr;
  LibmUnary libm = nullptr;
  bool libm_exact = false;
  Range typical;
  // Points where the formula changes (overflow, underflow, path switches), with neighbours.
  std::vector<double> boundaries;
  // A fourth draw, of pairs that the others seldom reach; nullptr for none.
  PairDraw own_draw = nullptr;
};

// Every row, present kernel or not.
const std::vector<FunctionRow>& Functions();

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_FUNCTION_TABLE_H_
