#include "common/errors.h"

#include <plog/Log.h>

kvr_code last_exception_code = KVR_RES_OK;

std::string& last_exception_message() {
  static std::string message;
  return message;
}

kvr_exception::kvr_exception(kvr_code exception_code, const std::string& text, CodeType type,
                             const char* where)
    : code(exception_code), message(std::string(where) + ' ' + text), codeType(type) {
  if (codeType != kSilent) {
    PLOGE << "Exception code: " << std::string(CodeToText(code)) << " message: " << text << "\r\n";
  }
  last_exception_code = code;
  last_exception_message() = text;
}
