// Texts of error codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "qvhttp12.h"

namespace {

constexpr INT kRoom = 256;

std::string TextOfError(DWORD code) {
  char text[kRoom] = "?";
  const INT length = HttpGetErrorStringA(code, text, kRoom);
  EXPECT_EQ(static_cast<std::size_t>(length), std::string(text).size());
  return text;
}

class ErrorTextTest : public ::testing::Test {
 protected:
  void SetUp() override { HttpSetLastError(0); }
  void TearDown() override { HttpSetLastError(0); }
};

struct ErrorText {
  DWORD code;
  const char* text;
};

TEST_F(ErrorTextTest, CodesHaveTheirTextsWithoutALineEnd) {
  constexpr ErrorText kCases[] = {
      {0x80042710, "No error"},
      {0x80042711, "Handle not owned by the current thread"},
      {0x80042715, "The specified file type is invalid or not a regular file"},
      {0x80042716, "The specified file type is invalid or not a regular file"},
      {0x80042736, "Invalid handle passed to function"},
      {0x8004274D, "The connection has been refused by the remote host"},
      {0x8004276B, "The networking subsystem is not available on this system"},
      {0x80042AF9, "The specified hostname is invalid or could not be resolved"},
      {0x80042FBD, "The current request has not been completed"},
      {0x80043067, "The request header contains one or more invalid values"},
      {0x800430D5, "The string contains invalid or undefined Unicode code points"},
      {0x800430EF, "The requested operation requires a different protocol version"},
  };
  for (const ErrorText& entry : kCases) {
    EXPECT_EQ(TextOfError(entry.code), entry.text) << std::hex << entry.code;
  }
}

TEST_F(ErrorTextTest, EveryPublishedCodeHasAText) {
#define QV_ERROR_ENTRY(name, code, text) EXPECT_EQ(TextOfError(QV_ERROR_##name), text) << #name;
#include "error_codes.def"
#undef QV_ERROR_ENTRY
}

TEST_F(ErrorTextTest, CodeZeroMeansTheLastErrorOfTheThread) {
  EXPECT_EQ(TextOfError(0), "");
  HttpSetLastError(10060);
  EXPECT_EQ(TextOfError(0), "The specified operation has timed out");
}

TEST_F(ErrorTextTest, UnknownCodesHaveNoText) {
  EXPECT_EQ(TextOfError(0x8004FFFE), "");
  EXPECT_EQ(HttpGetErrorStringA(0x8004FFFE, nullptr, 0), 0);
}

TEST_F(ErrorTextTest, WithoutABufferTheTextIsMeasured) {
  EXPECT_EQ(HttpGetErrorStringA(QV_ERROR_INVALID_HANDLE, nullptr, 0), 33);
  EXPECT_EQ(HttpGetErrorStringA(QV_ERROR_INVALID_HANDLE, nullptr, 5), 33);
  EXPECT_EQ(HttpGetErrorStringW(QV_ERROR_INVALID_HANDLE, nullptr, 0), 33);
}

TEST_F(ErrorTextTest, ATextThatDoesNotFitIsNotWritten) {
  for (const INT capacity : {-1, 0, 1, 10, 33}) {
    std::string text(64, '?');
    EXPECT_EQ(HttpGetErrorStringA(QV_ERROR_INVALID_HANDLE, text.data(), capacity), 0) << capacity;
    EXPECT_EQ(text.substr(static_cast<std::size_t>(std::max(capacity, 0))),
              std::string(64 - static_cast<std::size_t>(std::max(capacity, 0)), '?'));
    if (capacity > 0) {
      EXPECT_EQ(text[0], '\0') << capacity;
    }
  }
}

TEST_F(ErrorTextTest, TheWideFormHasTheSameText) {
  char16_t text[kRoom];
  EXPECT_EQ(HttpGetErrorStringW(QV_ERROR_INVALID_HANDLE, text, kRoom), 33);
  EXPECT_EQ(std::u16string(text), u"Invalid handle passed to function");
  HttpSetLastError(QV_ERROR_END_OF_FILE);
  EXPECT_EQ(HttpGetErrorStringW(0, text, kRoom), 11);
  EXPECT_EQ(std::u16string(text), u"End of file");
  EXPECT_EQ(HttpGetErrorStringW(0, text, 0), 0);
}

}  // namespace
