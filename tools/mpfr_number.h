// An MPFR number with value semantics at 512 bits, enough for the table fits of the generators.
#ifndef QOR_TOOLS_MPFR_NUMBER_H_
#define QOR_TOOLS_MPFR_NUMBER_H_

#include <mpfr.h>

constexpr mpfr_prec_t kPrec = 512;

class Big {
 public:
  Big() { mpfr_init2(v_, kPrec); mpfr_set_zero(v_, 1); }
  Big(double d) { mpfr_init2(v_, kPrec); mpfr_set_d(v_, d, MPFR_RNDN); }  // NOLINT
  Big(const Big& o) { mpfr_init2(v_, kPrec); mpfr_set(v_, o.v_, MPFR_RNDN); }
  Big& operator=(const Big& o) { mpfr_set(v_, o.v_, MPFR_RNDN); return *this; }
  ~Big() { mpfr_clear(v_); }
  mpfr_ptr get() { return v_; }
  mpfr_srcptr get() const { return v_; }
  double D() const { return mpfr_get_d(v_, MPFR_RNDN); }
  float F() const { return mpfr_get_flt(v_, MPFR_RNDN); }
  Big Abs() const { Big r; mpfr_abs(r.v_, v_, MPFR_RNDN); return r; }
  friend Big operator+(const Big& a, const Big& b) { Big r; mpfr_add(r.v_, a.v_, b.v_, MPFR_RNDN); return r; }
  friend Big operator-(const Big& a, const Big& b) { Big r; mpfr_sub(r.v_, a.v_, b.v_, MPFR_RNDN); return r; }
  friend Big operator*(const Big& a, const Big& b) { Big r; mpfr_mul(r.v_, a.v_, b.v_, MPFR_RNDN); return r; }
  friend Big operator/(const Big& a, const Big& b) { Big r; mpfr_div(r.v_, a.v_, b.v_, MPFR_RNDN); return r; }
  friend bool operator<(const Big& a, const Big& b) { return mpfr_less_p(a.v_, b.v_); }

 private:
  mpfr_t v_;
};

#endif  // QOR_TOOLS_MPFR_NUMBER_H_
