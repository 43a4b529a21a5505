#include "api/client_api.h"

// The inner one of a client library of two. It calls the outer one by its name, so that the system
// takes whatever library has that name.

extern "C" const char* words_from_outside(kvr_code code) { return kvr_CodeToString(code); }
