// Detection of character sets.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/kernel32.h"
#include "transfer/charset.h"

namespace qv {
namespace {

TEST(CharsetTest, FirstCodePageThatFitsIsTaken) {
  struct Case {
    std::string text;
    UINT code_page;
  };
  const std::vector<Case> cases = {
      {"plain", CP_UTF8},         {"caf\xc3\xa9", CP_UTF8}, {std::string("a\0b", 3), CP_UTF8},
      {"caf\xe9", 1252},          {"\xc3", 1252},  // a sequence that is cut
      {"\xc0\xaf", 1252},                          // a longer form than needed
      {"\xed\xa0\x80", 1252},                      // a surrogate
      {"\xf5\x80\x80\x80", 1252},                  // beyond Unicode
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    const std::optional<UINT> detected = DetectCodePage(c.text);
    ASSERT_TRUE(detected.has_value());
    EXPECT_EQ(*detected, c.code_page);
  }
}

TEST(CharsetTest, ConvertsBothWays) {
  const Result<std::u16string> wide = WideFromCodePage("\xcc\xe8\xf0", 1251);
  ASSERT_TRUE(wide);
  EXPECT_EQ(*wide, u"\u041c\u0438\u0440");
  const Result<std::string> narrow = CodePageFromWide(*wide, CP_UTF8);
  ASSERT_TRUE(narrow);
  EXPECT_EQ(*narrow, "\xd0\x9c\xd0\xb8\xd1\x80");
  const Result<std::string> longest = CodePageFromWide(u"\uffff\u0800\U0001F600", CP_UTF8);
  ASSERT_TRUE(longest);
  EXPECT_EQ(longest->size(), 10u);
}

}  // namespace
}  // namespace qv
