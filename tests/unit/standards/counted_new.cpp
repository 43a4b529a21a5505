#include "support/counted_new_operators.h"
