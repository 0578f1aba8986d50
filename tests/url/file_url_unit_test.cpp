// "file:" URLs as local paths.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "url/file_url.h"

namespace qv {
namespace {

// The path, or the error in angle brackets.
std::string PathOf(std::string_view url, DWORD options = kFileUrlExpand) {
  const Result<std::string> path = LocalPathOfFileUrl(url, options);
  if (!path) return "<" + std::to_string(path.error().code() & 0xFFFF) + ">";
  return *path;
}

std::string Failure(Error error) { return "<" + std::to_string(error.code() & 0xFFFF) + ">"; }

TEST(FileUrlTest, FormsAndWhatTheyName) {
  const std::string invalid = Failure(QV_ERROR_INVALID_PARAMETER);
  const std::string charset = Failure(QV_ERROR_INVALID_CHARSET);
  const std::string device = Failure(QV_ERROR_INVALID_FILE_TYPE);
  const std::string nothing = Failure(QV_ERROR_BUFFER_TOO_SMALL);
  const std::pair<const char*, std::string> cases[] = {
      {"file:/tmp/x", PathOf("file:///tmp/x")},
      {" \"FILE:\\\\\\tmp\\x\" ", PathOf("file:///tmp/x")},
      {"file://localhost/tmp/x", PathOf("file:///tmp/x")},
      {"file://tmp/x", PathOf("file:///tmp/x")},  // a folder, not a host
      {"file://no-such-host/x", PathOf("file:////no-such-host/x")},
      {"file:/C:/x", PathOf("file:///C:/x")},
      {"file:/C|/x", PathOf("file:///C:/x")},
      {"file:/C$/x", PathOf("file:///C:/x")},
      {"file://localhost/C|/x", PathOf("file:///C:/x")},
      {"file://C|/x", PathOf("file:///C:/x")},
      {"file:///C|/x", invalid},  // no drive at that place
      {"file:C:/x", invalid},
      {"http://h/x", invalid},
      {"file:///a%3Fb", charset},
      {"file:///a%2", charset},
      {"file:///\x80", charset},
      {"file:///a?b", invalid},
      {"file:///dir/con", device},
      {"file:///dir/COM1.txt", device},
      {"file:///", nothing},
  };
  for (const auto& [url, expected] : cases) EXPECT_EQ(PathOf(url), expected) << url;
  EXPECT_EQ(PathOf("file:///C:/Temp/a%20b.txt"), "C:\\Temp\\a b.txt");
  EXPECT_EQ(PathOf("file:/tmp/x", kFileUrlStrict), invalid);
  EXPECT_EQ(PathOf("file://C|/x", kFileUrlStrict), invalid);
}

// References are expanded to any length, before the path is looked at for a drive.
TEST(FileUrlTest, ReferencesAreExpanded) {
  const std::string long_name(300, 'n');
  setenv("QV_LONG", long_name.c_str(), 1);
  setenv("QV_DRIVE", "C:", 1);
  EXPECT_EQ(PathOf("file:///tmp/%25QV_LONG%25"), PathOf("file:///tmp/" + long_name));
  EXPECT_EQ(PathOf("file:///%25QV_DRIVE%25/x"), PathOf("file:///C:/x"));
  EXPECT_EQ(PathOf("file:///C:/%25QV_LONG%25", kFileUrlDefault), "C:\\%QV_LONG%");
}

}  // namespace
}  // namespace qv
