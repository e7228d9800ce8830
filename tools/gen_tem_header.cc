// Writes qor/tem_functions.h: the prototypes of the four entry names of every function whose
// kernel exists, and its typed _ttab and _ctab tables, from frame/functions.def.
// Run by the build: gen_tem_header > generated/include/qor/tem_functions.h
#include <cstdio>
#include <string>

#include "frame/function_macros.h"

namespace {

#define TEM_STR(x) TEM_STR_(x)
#define TEM_STR_(x) #x

struct Row {
  const char* name;
  char type;
  const char* params;
  bool have;
};

constexpr Row kRows[] = {
#define TEM_FN(t, stem, var, args, form, ctab, slots, error_name, have) \
  {TEM_STR(TEM_FULL_NAME(t, stem, var)), TEM_STR(t)[0], TEM_STR(TEM_ARGS(t, var, args)), have},
#include "frame/functions.def"
#undef TEM_FN
};

}  // namespace

int main() {
  std::printf(
      "/* Generated from frame/functions.def by gen_tem_header; do not edit.\n"
      "   Each function <f> has the entry points _tem<f> and _tem<f>_HA (high accuracy, slot 1),\n"
      "   _tem<f>_21 or _50 (low accuracy, slot 0) and _tem<f>_11 or _26 (enhanced\n"
      "   performance, slot 2), and the tables qor_tem_kernel_<f>_ttab and _ctab. */\n"
      "#ifndef QOR_TEM_FUNCTIONS_H_\n#define QOR_TEM_FUNCTIONS_H_\n\n"
      "#include <stdint.h>\n\n#include \"qor/export.h\"\n\nQOR_EXTERN_C_BEGIN\n");
  for (const Row& row : kRows) {
    if (!row.have) continue;
    const bool single = row.type == 's' || row.type == 'c';
    const std::string f = row.name;
    const std::string names[] = {"_tem" + f + (single ? "_21" : "_50"), "_tem" + f,
                                 "_tem" + f + "_HA", "_tem" + f + (single ? "_11" : "_26")};
    std::printf("\n");
    for (const std::string& name : names) {
      std::printf("QOR_API void %s%s;\n", name.c_str(), row.params);
    }
    std::printf("QOR_API extern void (*qor_tem_kernel_%s_ttab[3])%s;\n", row.name, row.params);
    std::printf("QOR_API extern const float qor_tem_kernel_%s_ctab[3];\n", row.name);
  }
  std::printf("\nQOR_EXTERN_C_END\n\n#endif /* QOR_TEM_FUNCTIONS_H_ */\n");
  return 0;
}
