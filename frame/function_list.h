// The function list seen from C++: per-function facts for the kernel frame, and the
// declarations of every existing kernel symbol and table, generated from functions.def so that
// a kernel defined with the wrong signature does not compile.
#ifndef QOR_FRAME_FUNCTION_LIST_H_
#define QOR_FRAME_FUNCTION_LIST_H_

#include <stdint.h>

#include "frame/function_macros.h"
#include "qor/tem.h"

namespace tem {

enum class Form { kVector, kLoop, kNone };

struct FunctionInfo {
  const char* error_name;
  Form form;
  bool have;
};

namespace fn {
#define TEM_FORM_VEC Form::kVector
#define TEM_FORM_LOOP Form::kLoop
#define TEM_FORM_NONE Form::kNone
#define TEM_FN(t, stem, var, args, form, ctab, slots, name, have) \
  inline constexpr FunctionInfo TEM_FULL_NAME(t, stem, var) = {name, TEM_FORM_##form, have};
#include "frame/functions.def"
#undef TEM_FN
#undef TEM_FORM_VEC
#undef TEM_FORM_LOOP
#undef TEM_FORM_NONE
}  // namespace fn

}  // namespace tem

using TemKernelSlot = void (*)();

extern "C" {
#define TEM_DECLARE_SAME(f, params) void tem_kernel_##f params;
#define TEM_DECLARE_THREE(f, params) \
  void tem_kernel_##f##_la params;   \
  void tem_kernel_##f##_ha params;   \
  void tem_kernel_##f##_ep params;
#define TEM_DECLARE_SHARED02(f, params) \
  void tem_kernel_##f##_la params;      \
  void tem_kernel_##f##_ha params;
#define TEM_DECLARE(f, slots, params) \
  TEM_DECLARE_##slots(f, params) extern TemKernelSlot tem_ttab_##f[3];
#define TEM_DECLARE_(f, slots, params) TEM_DECLARE(f, slots, params)
#define TEM_FN(t, stem, var, args, form, ctab, slots, name, have) \
  TEM_IF_##have(TEM_DECLARE_(TEM_FULL_NAME(t, stem, var), slots, TEM_ARGS(t, var, args)))
#include "frame/functions.def"
#undef TEM_FN
}

#endif  // QOR_FRAME_FUNCTION_LIST_H_
