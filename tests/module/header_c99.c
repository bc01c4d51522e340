/* The public header by itself, as a host written in C99 includes it. */
#include "oralib/oralib.h"

oralib_result (*const init)(const oralib_char*, oralib_char**) = OracleVssInitLib;
void (*const release)(oralib_char*) = OracleLibStrFree;

typedef char characters_are_16_bits[sizeof(oralib_char) == 2 ? 1 : -1];
typedef char bool_is_one_byte[sizeof(bool) == 1 ? 1 : -1];
