// The jump functions and polynomial descriptor of MT19937, so that the two jump methods can be
// run on its streams side by side.
#ifndef QOR_GENERATORS_MT19937_H_
#define QOR_GENERATORS_MT19937_H_

#include "qor/rof.h"

namespace rof {

struct Mt19937Jumps {
  rofJumpZeroFn zero;
  rofJumpAddFn add;
  rofJumpCopyFn copy;
  rofJumpStepFn step;
  rofJumpFinishFn finish;
  rofJumpPrepareFn prepare;
  rofSkipAheadDesc desc;
};

Mt19937Jumps Mt19937JumpFunctions();

}  // namespace rof

#endif  // QOR_GENERATORS_MT19937_H_
