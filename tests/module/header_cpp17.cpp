// The public header by itself, as a host written in C++17 includes it.
#include "oralib/oralib.h"

static_assert(sizeof(oralib_char) == 2 && sizeof(bool) == 1);
static_assert(ORALIB_FAILED == static_cast<oralib_result>(0x80004005u));
