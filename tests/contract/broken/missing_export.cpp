// breaks: exports
// Nothing here: kvr_CancelOperation is left out of the exported names.
#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable&) {}
