// Media types: classes, extensions and guesses.
#include <gtest/gtest.h>

#include <vector>

#include "url/content_sniffer.h"
#include "url/content_type.h"

namespace qv {
namespace {

using namespace std::string_view_literals;

TEST(ContentTypeTest, MediaTypesHaveClasses) {
  struct Case {
    std::string media_type;
    INT content_class;
  };
  const std::vector<Case> cases = {
      {"", HTTP_CONTENT_UNKNOWN},
      {"  \t ", HTTP_CONTENT_UNKNOWN},
      {"x-unknown/y", HTTP_CONTENT_UNKNOWN},
      {"textual/plain", HTTP_CONTENT_UNKNOWN},
      {"application/pdf", HTTP_CONTENT_BINARY},
      {"application/jsonx", HTTP_CONTENT_BINARY},
      {"text/html; charset=utf-8", HTTP_CONTENT_TEXT},
      {" \r\n TEXT/HTML", HTTP_CONTENT_TEXT},
      {"text", HTTP_CONTENT_TEXT},
      {"application/json;charset=x", HTTP_CONTENT_TEXT},
      {"Application/XHTML+XML charset", HTTP_CONTENT_TEXT},
      {"message/rfc822", HTTP_CONTENT_TEXT},
      {"message/http", HTTP_CONTENT_MESSAGE},
      {"audio/ogg", HTTP_CONTENT_AUDIO},
      {"image/png", HTTP_CONTENT_IMAGE},
      {"multipart/form-data; boundary=x", HTTP_CONTENT_MULTIPART},
      {"video/mpeg", HTTP_CONTENT_VIDEO},
      {"font/woff2", HTTP_CONTENT_FONT},
      {"model/3mf", HTTP_CONTENT_MODEL},
      {"text/" + std::string(1000, 'x'), HTTP_CONTENT_TEXT},
      {std::string(124, 'x') + "text/plain", HTTP_CONTENT_UNKNOWN},
  };
  for (const Case& test : cases) {
    EXPECT_EQ(ClassifyContentType(test.media_type), test.content_class) << test.media_type;
  }
}

TEST(ContentTypeTest, FilesAreTypedByExtension) {
  struct Case {
    const char* name;
    INT content_class;
    const char* media_type;
  };
  constexpr const char* kBinary = "application/octet-stream";
  const std::vector<Case> cases = {
      {"C:\\data\\Report.PDF", HTTP_CONTENT_BINARY, "application/pdf"},
      {"C:report.html", HTTP_CONTENT_TEXT, "text/html"},
      {"/pub/a.tar.gz", HTTP_CONTENT_BINARY, "application/x-gzip"},
      {"a.b64", HTTP_CONTENT_TEXT, "application/base64"},
      {".movie", HTTP_CONTENT_VIDEO, "video/x-sgi-movie"},
      {"a.woff2", HTTP_CONTENT_FONT, "font/woff2"},
      {"a.H", HTTP_CONTENT_TEXT, "text/plain"},
      {"a.eml", HTTP_CONTENT_TEXT, "message/rfc822"},
      {"a.yaml", HTTP_CONTENT_TEXT, "text/yaml"},
      {"", HTTP_CONTENT_BINARY, kBinary},
      {"README", HTTP_CONTENT_BINARY, kBinary},
      {"readme.", HTTP_CONTENT_BINARY, kBinary},
      {"a.pdfx", HTTP_CONTENT_BINARY, kBinary},
      {"a.pd", HTTP_CONTENT_BINARY, kBinary},
      {"a.html htm", HTTP_CONTENT_BINARY, kBinary},
      {"folder.pdf/file", HTTP_CONTENT_BINARY, kBinary},
      {"folder.pdf\\file", HTTP_CONTENT_BINARY, kBinary},
      {"a.pdf\xC3\xA4", HTTP_CONTENT_BINARY, kBinary},
  };
  for (const Case& test : cases) {
    const ContentType type = ContentTypeOfFile(test.name);
    EXPECT_EQ(type.content_class, test.content_class) << test.name;
    EXPECT_EQ(type.media_type, test.media_type) << test.name;
  }
}

TEST(ContentSnifferTest, DataIsGuessedFromItsFirstBytes) {
  struct Case {
    std::string data;
    INT kind;
    std::string_view media_type;
  };
  constexpr std::string_view kBinary = "application/octet-stream";
  const std::string spaces(5000, ' ');
  const std::vector<Case> cases = {
      {"", kSniffedNothing, ""},
      {" \r\n", kSniffedText, "text/plain"},
      {"Hello\b\tworld\r\n", kSniffedText, "text/plain"},
      {"  {\"a\": 1}", kSniffedText, "application/json"},
      {"[]", kSniffedText, "application/json"},
      {"<?xml?>", kSniffedText, "application/xml"},
      {"<?", kSniffedText, "text/plain"},
      {"<html>", kSniffedText, "text/plain"},
      {spaces + "{", kSniffedText, "application/json"},
      {std::string("a\0b", 3), kSniffedBinary, kBinary},
      {std::string("\0", 1), kSniffedBinary, kBinary},
      {"{\x7F}", kSniffedBinary, kBinary},
      {"caf\xC3\xA9", kSniffedBinary, kBinary},
      {"a\fb", kSniffedBinary, kBinary},
      {std::string(4095, 'x') + '\x01', kSniffedBinary, kBinary},
      {std::string(4096, 'x') + '\x01', kSniffedText, "text/plain"},
  };
  for (const Case& test : cases) {
    const SniffedType type = SniffContentType(test.data);
    EXPECT_EQ(type.kind, test.kind) << test.data;
    EXPECT_EQ(type.media_type, test.media_type) << test.data;
  }
}

}  // namespace
}  // namespace qv
