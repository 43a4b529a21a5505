#include "virtual_instrument/vocabulary/code_sentences.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "virtual_instrument/vocabulary/code_names.h"

namespace virtual_instrument {
namespace {

const std::map<kvr_code, std::string>& names() {
  static const auto* const names = new std::map<kvr_code, std::string>{
#define NAMED_CODE(number, name) {name, #name},
      KVR_CODE_LIST(NAMED_CODE)
#undef NAMED_CODE
  };
  return *names;
}

TEST(CodeSentences, EveryNamedCodeHasAShortSentenceOfItsOwn) {
  ASSERT_EQ(names().size(), 189U);
  std::set<std::string> sentences;
  for (const auto& [code, name] : names()) {
    const std::string sentence = code_sentence(code);
    EXPECT_TRUE(sentences.insert(sentence).second) << name << ": " << sentence;
    EXPECT_NE(sentence, name);
    EXPECT_EQ(sentence.find("KVR_"), std::string::npos) << name;
    EXPECT_EQ(sentence.find("has no meaning here"), std::string::npos) << name;
    EXPECT_LE(sentence.size(), 70U) << sentence;
    EXPECT_TRUE(std::isupper(static_cast<unsigned char>(sentence.front()))) << sentence;
    EXPECT_NE(sentence.back(), '.') << sentence;
    EXPECT_TRUE(std::all_of(sentence.begin(), sentence.end(), [](char c) {
      return c >= ' ' && c <= '~';
    })) << sentence;
  }
}

TEST(CodeSentences, CodesWithoutANameShowTheirNumber) {
  const auto sentence = [](std::int32_t code) {
    return std::string(code_sentence(static_cast<kvr_code>(code)));
  };
  EXPECT_EQ(sentence(180), "The code 180 has no meaning here");
  EXPECT_EQ(sentence(999), "The code 999 has no meaning here");
  EXPECT_EQ(sentence(1009), "The code 1009 has no meaning here");
  EXPECT_EQ(sentence(-1), "The code -1 has no meaning here");
  EXPECT_EQ(sentence(std::numeric_limits<std::int32_t>::min()),
            "The code -2147483648 has no meaning here");
}

TEST(CodeSentences, ThreadsDontDisturbEachOther) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      const std::string expected =
          "The code " + std::to_string(200 + thread) + " has no meaning here";
      for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(code_sentence(static_cast<kvr_code>(200 + thread)), expected);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(CodeNames, FindEveryCodeAndNothingElse) {
  for (const auto& [code, name] : names()) {
    EXPECT_EQ(code_of_name(name), code);
  }
  EXPECT_FALSE(code_of_name(""));
  EXPECT_FALSE(code_of_name("KVR_RES_"));
  EXPECT_FALSE(code_of_name("KVR_RES_OK "));
}

}  // namespace
}  // namespace virtual_instrument
