// Line ends of text bodies.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "transfer/line_ends.h"

namespace qv {
namespace {

MemoryBody BodyOf(const std::string& text) {
  MemoryBody body;
  body.block = *MemoryBlock::Allocate(text.size() + 1);
  std::memcpy(body.block.data(), text.data(), text.size());
  body.length = text.size();
  return body;
}

TEST(LineEndsTest, BecomeCrLf) {
  struct Case {
    std::string text;
    std::string converted;
  };
  const std::vector<Case> cases = {
      {"\n", "\r\n"},
      {"\n\n", "\r\n\r\n"},
      {"a\nb", "a\r\nb\r\n"},
      {"a\nb\n", "a\r\nb\r\n"},
      {"a\r\nb\nc", "a\r\nb\nc"},
      {"a\nb\r\nc\n", "a\r\nb\r\r\nc\r\n"},  // the first line end stands for all
      {"\r", "\r"},
      {"a", "a"},
      {std::string("a\0\nb", 4), std::string("a\0\r\nb\r\n", 7)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    MemoryBody body = BodyOf(c.text);
    EXPECT_FALSE(ConvertLineEnds(body));
    EXPECT_EQ(std::string(body.block.data(), body.length), c.converted);
    EXPECT_EQ(body.block.size(), body.length + 1);
    EXPECT_EQ(body.block.data()[body.length], '\0');
  }
}

}  // namespace
}  // namespace qv
