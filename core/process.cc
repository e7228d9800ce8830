// Ending the process on an unrecoverable failure of the libraries.
#include <stdlib.h>

#include "qor/core.h"

extern "C" QOR_API void qor_serv_exit(int code) { exit(code); }
