// The tables of B^(2^i), i = 0 to 192, of the two MRG32K3A components, for
// __rofiVect3PowArrayMod_M1 and _M2.
#ifndef QOR_STREAMS_VECT3_POWER_H_
#define QOR_STREAMS_VECT3_POWER_H_

#include "qor/rof.h"

namespace rof {

extern const uint32_t kMrg32k3aMatrices1[193][9];
extern const uint32_t kMrg32k3aMatrices2[193][9];

}  // namespace rof

#endif  // QOR_STREAMS_VECT3_POWER_H_
