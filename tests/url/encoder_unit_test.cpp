// Base64 and the percent-encodings.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "frame/text.h"
#include "url/encoder.h"

namespace qv {
namespace {

using namespace std::string_literals;

struct EncodeCase {
  EncodeMode mode;
  std::string input;
  std::string output;
};

TEST(EncoderTest, EachModeHasItsOwnExceptions) {
  const std::vector<EncodeCase> cases = {
      {EncodeMode::kPath, "/a b&c=d", "/a%20b%26c%3dd"},
      {EncodeMode::kPath, "a.b-c_d/e", "a.b-c_d/e"},
      {EncodeMode::kData, "a.b-c_d/e=f&g", "a%2eb%2dc%5fd%2fe=f&g"},
      {EncodeMode::kXml, "a b.-_/=&c", "a b.-_/=&c"},
      {EncodeMode::kData, " +~!'()*", "%20+~!'()*"},
      {EncodeMode::kPath, "\"#<>?[\\]^`{|}", "%22%23%3c%3e%3f%5b%5c%5d%5e%60%7b%7c%7d"},
      {EncodeMode::kXml, "\x01\x1F\x7F\x80\xAB\xFF"s, "%01%1f%7f%80%ab%ff"},
      {EncodeMode::kData, "a\0b"s, "a%00b"},
      {EncodeMode::kData, "", ""},
      {EncodeMode::kBase64, "Man", "TWFu"},
      {EncodeMode::kBase64, "Ma", "TWE="},
      {EncodeMode::kBase64, "M", "TQ=="},
      {EncodeMode::kBase64, "user:password", "dXNlcjpwYXNzd29yZA=="},
      {EncodeMode::kBase64, "\xFB\xFF\xFE\0"s, "+//+AA=="},
      {EncodeMode::kBase64, "", ""},
  };
  for (const EncodeCase& test : cases) {
    EXPECT_EQ(EncodeText(test.mode, test.input), test.output) << test.input;
  }
}

TEST(EncoderTest, EscapesStayAndOtherPercentSignsAreEscaped) {
  for (const EncodeMode mode : {EncodeMode::kPath, EncodeMode::kData, EncodeMode::kXml}) {
    EXPECT_EQ(EncodeText(mode, "%41%aF"), "%41%aF");
    EXPECT_EQ(EncodeText(mode, "a%"), "a%25");
    EXPECT_EQ(EncodeText(mode, "a%4"), "a%254");
    EXPECT_EQ(EncodeText(mode, "%4g%g4"), "%254g%25g4");
    EXPECT_EQ(EncodeText(mode, "%%41"), "%25%41");
  }
}

TEST(EncoderTest, OutputThatDoesNotFitFails) {
  struct Case {
    EncodeMode mode;
    std::string input;
    INT capacity;
    INT length;  // -1: fails
    DWORD error;
  };
  const std::vector<Case> cases = {
      {EncodeMode::kPath, "0123456789", 15, -1, 0},
      {EncodeMode::kPath, "0123456789", 16, 10, 0},
      {EncodeMode::kBase64, "0123456789", 15, -1, 0},
      {EncodeMode::kBase64, "0123456789", 16, -1, 0},
      {EncodeMode::kBase64, "0123456789", 17, 16, 0},
      {EncodeMode::kData, "    ", 7, -1, QV_ERROR_BUFFER_TOO_SMALL},
      {EncodeMode::kData, "    ", 12, -1, QV_ERROR_BUFFER_TOO_SMALL},
      {EncodeMode::kData, "    ", 13, 12, 0},
      {EncodeMode::kData, "  abcd", 10, -1, 0},
      {EncodeMode::kData, "  abcd", 11, 10, 0},
      {EncodeMode::kData, "", 1, 0, 0},
      {EncodeMode::kData, "", 0, -1, 0},
      {EncodeMode::kData, "a", -1, -1, 0},
      {static_cast<EncodeMode>(5), "a", 100, -1, 0},
  };
  for (const Case& test : cases) {
    std::vector<char> output(static_cast<std::size_t>(std::max(test.capacity, 1)));
    const Result<INT> length = Encode(test.mode, test.input, output.data(), test.capacity);
    EXPECT_EQ(length ? *length : -1, test.length) << test.input << ' ' << test.capacity;
    EXPECT_EQ(length.error().code(), test.error) << test.input << ' ' << test.capacity;
  }
  char output[4];
  EXPECT_FALSE(Encode(EncodeMode::kData, {}, output, sizeof(output)));
  EXPECT_FALSE(Encode(EncodeMode::kData, "a", nullptr, sizeof(output)));
}

TEST(EncoderTest, TellsWhatNeedsEncoding) {
  for (const char* text : {"", "/a/b.html", "a+b&c=d~!*'();:@$,", "%20%Ff", "100%25"}) {
    EXPECT_FALSE(NeedsEncoding(text)) << text;
  }
  for (const char* text :
       {"a b", "a%", "a%4", "%4g", "a\"", "a#b", "a?b", "a\\b", "{", "\x7F", "\xC3\xA4", "a\n"}) {
    EXPECT_TRUE(NeedsEncoding(text)) << text;
  }
}

std::string Decode(std::string_view text) {
  std::string decoded;
  for (; !text.empty(); text.remove_prefix(1)) {
    if (text[0] != '%') {
      decoded += text[0];
      continue;
    }
    decoded += static_cast<char>(HexValue(text[1]) * 16 + HexValue(text[2]));
    text.remove_prefix(2);
  }
  return decoded;
}

TEST(EncoderTest, RandomBytesEncodeToCleanTextThatDecodes) {
  std::mt19937 random(7);
  for (int round = 0; round < 3000; ++round) {
    std::string input(random() % 40, '\0');
    for (char& c : input) c = static_cast<char>(random());
    for (int mode = 1; mode <= 4; ++mode) {
      // Exactly as large as claimed, so that a write beyond the end is found.
      std::vector<char> output(1 + random() % 130);
      const Result<INT> length = Encode(static_cast<EncodeMode>(mode), input, output.data(),
                                        static_cast<INT>(output.size()));
      const std::optional<std::string> text = EncodeText(static_cast<EncodeMode>(mode), input);
      ASSERT_TRUE(text);
      if (length) {
        EXPECT_EQ(std::string(output.data()), *text);
        EXPECT_EQ(static_cast<std::size_t>(*length), text->size());
      }
      if (mode == 1) continue;
      EXPECT_EQ(Decode(*text), Decode(*EncodeText(EncodeMode::kPath, input)));
      if (input.find('%') == input.npos) {
        EXPECT_EQ(Decode(*text), input);
      }
      if (mode != 4) {
        EXPECT_FALSE(NeedsEncoding(*text)) << *text;
      }
    }
  }
}

}  // namespace
}  // namespace qv
