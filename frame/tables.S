// The _ttab and _ctab tables of every function whose kernel exists, in list order, each a
// 24-byte cell: three kernel pointers, then three floats and 12 zero bytes. tem_ttab_<f> is the
// hidden name of each _ttab for the stubs and for internal callers.
#include "frame/function_macros.h"

#define TEM_KERNELS_SAME(f) tem_kernel_##f, tem_kernel_##f, tem_kernel_##f
#define TEM_KERNELS_THREE(f) tem_kernel_##f##_la, tem_kernel_##f##_ha, tem_kernel_##f##_ep
#define TEM_KERNELS_SHARED02(f) tem_kernel_##f##_la, tem_kernel_##f##_ha, tem_kernel_##f##_la

#define TEM_TABLES(f, slots, ctab)                                               \
  .globl qor_tem_kernel_##f##_ttab; .type qor_tem_kernel_##f##_ttab, @object;     \
  .size qor_tem_kernel_##f##_ttab, 24;                                            \
  .globl tem_ttab_##f; .hidden tem_ttab_##f; .type tem_ttab_##f, @object;         \
  .size tem_ttab_##f, 24;                                                         \
  qor_tem_kernel_##f##_ttab: tem_ttab_##f: .quad TEM_KERNELS_##slots(f);          \
  .globl qor_tem_kernel_##f##_ctab; .type qor_tem_kernel_##f##_ctab, @object;     \
  .size qor_tem_kernel_##f##_ctab, 24;                                            \
  qor_tem_kernel_##f##_ctab: .long TEM_CTAB_##ctab; .zero 12
#define TEM_TABLES_(f, slots, ctab) TEM_TABLES(f, slots, ctab)

#define TEM_FN(t, stem, var, args, form, ctab, slots, name, have) \
  TEM_IF_##have(TEM_TABLES_(TEM_FULL_NAME(t, stem, var), slots, ctab))

  .data
  .p2align 4
#include "frame/functions.def"

  .section .note.GNU-stack, "", @progbits
