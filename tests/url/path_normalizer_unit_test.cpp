// Dot segments and doubled separators.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "url/path_normalizer.h"

namespace qv {
namespace {

std::string Normalized(std::string path) {
  NormalizePath(path);
  return path;
}

TEST(PathNormalizerTest, DotSegmentsGoAndSeparatorsCollapse) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"", ""},
      {"/", "/"},
      {"/a//b/./c/../d", "/a/b/d"},
      {"/../a", "/a"},
      {"/../../../a", "/a"},
      {"/a/b/..", "/a/b/.."},
      {"/a/.", "/a/."},
      {"/a/b/../", "/a/"},
      {"/a/b/c/.../d", "/a/d"},
      {"/a/..../b", "/b"},
      {"/a/b../c", "/c"},
      {"/a/b./c", "/a/c"},
      {"/a.b/c..d/e", "/a.b/c..d/e"},
      {"./a", "/a"},
      {"a/../b", "/b"},
      {"\\a\\.\\b\\..\\c", "\\a\\c"},
      {"/a\\/b/\\c", "/a\\b/c"},
      {"/a/./.././b", "/b"},
      {"////", "/"},
      {"/.//..//a", "/a"},
  };
  for (const auto& [path, normalized] : cases) EXPECT_EQ(Normalized(path), normalized) << path;
}

TEST(PathNormalizerTest, RandomPathsComeOutCleanAndStay) {
  constexpr std::string_view kAlphabet = "/\\..ab";
  std::mt19937 random(3);
  for (int round = 0; round < 20000; ++round) {
    std::string path(random() % 24, '\0');
    for (char& c : path) c = kAlphabet[random() % kAlphabet.size()];
    const std::string clean = Normalized(path);
    EXPECT_LE(clean.size(), path.size());
    for (std::size_t i = 1; i < clean.size(); ++i) {
      const bool separator = clean[i] == '/' || clean[i] == '\\';
      EXPECT_FALSE(separator && std::string_view("/\\.").find(clean[i - 1]) != std::string::npos)
          << path << " -> " << clean;
    }
    EXPECT_EQ(Normalized(clean), clean) << path;
  }
}

}  // namespace
}  // namespace qv
