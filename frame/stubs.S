// The exported entry points: three 16-byte stubs per function, each one indirect jump through
// a slot of the function's table, so that arguments and return reach the kernel untouched.
// _tem<f> and _tem<f>_HA are two labels on the slot-1 stub.
#include "frame/function_macros.h"

#define TEM_STUB(label, f, offset)                                        \
  .p2align 4; .globl label; .type label, @function;                        \
  label: jmp *tem_ttab_##f + offset(%rip); .size label, . - label

#define TEM_STUBS(f, la, ep)                                              \
  TEM_STUB(_tem##f##la, f, 0);                                             \
  .p2align 4; .globl _tem##f; .type _tem##f, @function;                    \
  .globl _tem##f##_HA; .type _tem##f##_HA, @function;                      \
  _tem##f: _tem##f##_HA: jmp *tem_ttab_##f + 8(%rip);                      \
  .size _tem##f, . - _tem##f; .size _tem##f##_HA, . - _tem##f##_HA;        \
  TEM_STUB(_tem##f##ep, f, 16)
#define TEM_STUBS_(f, la, ep) TEM_STUBS(f, la, ep)

#define TEM_FN(t, stem, var, args, form, ctab, slots, name, have) \
  TEM_IF_##have(TEM_STUBS_(TEM_FULL_NAME(t, stem, var), TEM_SUFFIX_LA_##t, TEM_SUFFIX_EP_##t))

  .text
#include "frame/functions.def"

  .section .note.GNU-stack, "", @progbits
