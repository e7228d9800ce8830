/* Expansion helpers for the rows of functions.def, shared by C++, assembly and the header
   generator: full names, element types, argument lists and stub suffixes. */
#ifndef QOR_FRAME_FUNCTION_MACROS_H_
#define QOR_FRAME_FUNCTION_MACROS_H_

#define TEM_CAT(a, b) TEM_CAT_(a, b)
#define TEM_CAT_(a, b) a##b

/* sAbs, sAbsI, sPackI. */
#define TEM_FULL_NAME(t, stem, var) TEM_FULL_NAME_##var(t, stem)
#define TEM_FULL_NAME_C(t, stem) t##stem
#define TEM_FULL_NAME_I(t, stem) t##stem##I

/* Emits its argument only for a function whose kernel exists. */
#define TEM_IF_1(...) __VA_ARGS__
#define TEM_IF_0(...)

/* Stub name suffixes of slot 0 (low accuracy) and slot 2 (enhanced performance). */
#define TEM_SUFFIX_LA_s _21
#define TEM_SUFFIX_LA_c _21
#define TEM_SUFFIX_LA_d _50
#define TEM_SUFFIX_LA_z _50
#define TEM_SUFFIX_EP_s _11
#define TEM_SUFFIX_EP_c _11
#define TEM_SUFFIX_EP_d _26
#define TEM_SUFFIX_EP_z _26

/* _ctab bit patterns: the nearest floats to 1.0, 3.0, 111.1, 111.2 and 111.3. */
#define TEM_CTAB_CT_ONE 0x3F800000, 0x3F800000, 0x3F800000
#define TEM_CTAB_CT_THREE 0x40400000, 0x40400000, 0x40400000
#define TEM_CTAB_CT_EXACT 0x42DE999A, 0x42DE999A, 0x42DE999A
#define TEM_CTAB_CT_SCALED 0x42DE6666, 0x42DE999A, 0x42DE3333

#ifndef __ASSEMBLER__
/* Element type T, its real part R, and the by-value scalar S of Powx. */
#define TEM_T_s float
#define TEM_T_d double
#define TEM_T_c TemComplex8
#define TEM_T_z TemComplex16
#define TEM_R_s float
#define TEM_R_d double
#define TEM_R_c float
#define TEM_R_z double
#define TEM_S_s float
#define TEM_S_d double
#define TEM_S_c TemComplex8
#define TEM_S_z const TemComplex16*

/* The parameter list of a function, by variant and argument shape. */
#define TEM_ARGS(t, var, args) TEM_ARGS_##var##_##args(TEM_T_##t, TEM_R_##t, TEM_S_##t)

#define TEM_ARGS_C_A_R(T, R, S) (int n, const T* a, T* r)
#define TEM_ARGS_I_A_R(T, R, S) (int n, const T* a, int inca, T* r, int incr)
#define TEM_ARGS_C_A_AB_R(T, R, S) (int n, const T* a, const T* b, T* r)
#define TEM_ARGS_I_A_AB_R(T, R, S) \
  (int n, const T* a, int inca, const T* b, int incb, T* r, int incr)
#define TEM_ARGS_C_A_R2(T, R, S) (int n, const T* a, T* r1, T* r2)
#define TEM_ARGS_I_A_R2(T, R, S) (int n, const T* a, int inca, T* r1, int incr1, T* r2, int incr2)
#define TEM_ARGS_C_A_POWX(T, R, S) (int n, const T* a, S b, T* r)
#define TEM_ARGS_I_A_POWX(T, R, S) (int n, const T* a, int inca, S b, T* r, int incr)
#define TEM_ARGS_C_A_LINFRAC(T, R, S) \
  (int n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb, T* r)
#define TEM_ARGS_I_A_LINFRAC(T, R, S)                                                    \
  (int n, const T* a, int inca, const T* b, int incb, T scalea, T shifta, T scaleb, \
   T shiftb, T* r, int incr)
#define TEM_ARGS_C_A_JN(T, R, S) (int n, const T* a, T b, T* r)
#define TEM_ARGS_I_A_JN(T, R, S) (int n, const T* a, int inca, T b, T* r, int incr)
#define TEM_ARGS_C_A_CR(T, R, S) (int n, const T* a, R* r)
#define TEM_ARGS_I_A_CR(T, R, S) (int n, const T* a, int inca, R* r, int incr)
#define TEM_ARGS_C_A_RC(T, R, S) (int n, const R* a, T* r)
#define TEM_ARGS_I_A_RC(T, R, S) (int n, const R* a, int inca, T* r, int incr)
/* Pack and unpack: counts, strides and index or mask entries are 32 bits with width 1 and
   64 bits otherwise. */
#define TEM_ARGS_C_A_PACK_I(T, R, S) (int64_t n, const T* a, int64_t inca, T* y, int width)
#define TEM_ARGS_C_A_PACK_V(T, R, S) (int64_t n, const T* a, const void* ia, T* y, int width)
#define TEM_ARGS_C_A_PACK_M(T, R, S) (int64_t n, const T* a, const void* ma, T* y, int width)
#define TEM_ARGS_C_A_UNPACK_I(T, R, S) (int64_t n, const T* a, T* y, int64_t incy, int width)
#define TEM_ARGS_C_A_UNPACK_V(T, R, S) (int64_t n, const T* a, T* y, const void* iy, int width)
#define TEM_ARGS_C_A_UNPACK_M(T, R, S) (int64_t n, const T* a, T* y, const void* my, int width)
#endif /* __ASSEMBLER__ */

#endif /* QOR_FRAME_FUNCTION_MACROS_H_ */
