#include "console/replies.h"

#include <iostream>

#include "api/client_api.h"
#include "common/c_text.h"

bool is_accepted(kvr_code code) {
  return code == KVR_RES_OK || code == KVR_RES_CHECK_ERROR_STATUS ||
         code == KVR_RES_PARTIAL_RESULT_CHECK_STATUS || report_error(code);
}

bool report_error(kvr_code code) {
  std::cout << "\nERROR: ";
  write_c_text(std::cout, kvr_CodeToString(code));
  std::cout << '\n';
  return false;
}
