// Numbered messages of the libraries and their printer. The texts live only here.
#include <stdarg.h>
#include <stdio.h>

#include "qor/core.h"

namespace {

// What a message takes, in order: nothing, a name, a name and an element index, or an element
// index and a value.
enum class Takes { kNothing, kName, kNameIndex, kIndexValue };

struct Message {
  int number;
  Takes takes;
  const char* text;
};

constexpr Message kMessages[] = {
    {748, Takes::kNameIndex, "qor: %s: bad array size at element %d"},
    {749, Takes::kName, "qor: %s: bad array address"},
    {750, Takes::kName, "qor: %s: argument outside the domain of the function"},
    {751, Takes::kName, "qor: %s: singularity, the exact result is infinite"},
    {752, Takes::kName, "qor: %s: overflow, the result is too large to represent"},
    {753, Takes::kName, "qor: %s: underflow, the result is too small to represent"},
    {754, Takes::kName, "qor: %s: error of unknown kind"},
    {755, Takes::kIndexValue, "    argument a[%d] = %.17g"},
    {756, Takes::kIndexValue, "    result   r[%d] = %.17g"},
    {757, Takes::kIndexValue, "    argument a[%d] = %.17g"},
    {758, Takes::kIndexValue, "    result  r1[%d] = %.17g"},
    {759, Takes::kIndexValue, "    result  r2[%d] = %.17g"},
    {760, Takes::kIndexValue, "    argument a[%d] = %.17g"},
    {761, Takes::kIndexValue, "    argument b[%d] = %.17g"},
    {762, Takes::kIndexValue, "    result   r[%d] = %.17g"},
    {763, Takes::kIndexValue, "    argument a[%d] = %.17g"},
    {764, Takes::kIndexValue, "    argument b[%d] = %.17g"},
    {765, Takes::kIndexValue, "    result  r1[%d] = %.17g"},
    {766, Takes::kIndexValue, "    result  r2[%d] = %.17g"},
    {773, Takes::kNothing, "qor: cannot allocate the per-thread state of the vector functions"},
};

int ArgumentCount(Takes takes) {
  switch (takes) {
    case Takes::kNothing: return 0;
    case Takes::kName: return 1;
    case Takes::kNameIndex:
    case Takes::kIndexValue: return 2;
  }
  return -1;
}

}  // namespace

extern "C" QOR_API int qor_serv_print(int unit, int number, int count, ...) {
  const Message* message = nullptr;
  for (const Message& m : kMessages) {
    if (m.number == number) message = &m;
  }
  // The count guards the variadic reads: a text is printed only with the arguments it takes.
  if (message == nullptr || ArgumentCount(message->takes) != count) return -1;
  FILE* out = unit == 0 ? stdout : stderr;
  va_list args;
  va_start(args, count);
  int written = vfprintf(out, message->text, args);
  va_end(args);
  if (written >= 0 && fputc('\n', out) != EOF) ++written;
  fflush(out);
  return written;
}
