#pragma once

#include <gtest/gtest.h>

#include <string>

#include "common/errors.h"

/// Expects `action` to throw a kvr_exception of exactly these parts.
template <class Action>
void expect_kvr_exception(kvr_code code, const std::string& where, const std::string& message,
                          Action action) {
  try {
    action();
    ADD_FAILURE() << "nothing thrown instead of: " << where << ' ' << message;
  } catch (const kvr_exception& exception) {
    EXPECT_EQ(CodeToText(exception.code), CodeToText(code));
    EXPECT_EQ(exception.what(), where + ' ' + message);
    EXPECT_EQ(exception.codeType, kLogged);
    EXPECT_EQ(last_exception_code, code);
    EXPECT_EQ(last_exception_message(), message);
  }
}
