#pragma once

#include <exception>
#include <string>

#include "api/codes.h"

/// Whether the constructor of a kvr_exception logs: kLogged, which every thrower passes, or
/// kSilent.
enum CodeType : int { kLogged = 0, kSilent = 1 };

/// The program's one exception type. Nothing in the flows or in main() catches it.
class kvr_exception : public std::exception {
 public:
  /// `where` names the throwing function. Logs the failure unless `type` is kSilent, and remembers
  /// code and message in last_exception_code and last_exception_message().
  kvr_exception(kvr_code code, const std::string& message, CodeType type, const char* where);

  /// `where`, one blank and the message.
  const char* what() const noexcept override { return message.c_str(); }

  kvr_code code;
  std::string message;
  CodeType codeType;
};

/// Code of the most recent kvr_exception of any thread. Written without a lock.
extern kvr_code last_exception_code;

/// Message of the most recent kvr_exception, without its `where`. Written without a lock.
std::string& last_exception_message();
