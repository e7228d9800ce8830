/* All public interfaces of qor. */
#ifndef QOR_QOR_H_
#define QOR_QOR_H_

#include "qor/core.h"
#include "qor/core_blas.h"
#include "qor/rof.h"
#include "qor/df.h"
#include "qor/ss.h"
#include "qor/tem.h"

#endif /* QOR_QOR_H_ */
