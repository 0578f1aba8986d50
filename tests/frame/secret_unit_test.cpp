#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "frame/secret.h"

namespace qv {
namespace {

bool IsWiped(const char* bytes, std::size_t count) {
  return std::all_of(bytes, bytes + count, [](char c) { return c == '\0'; });
}

TEST(SecretTest, NothingStaysBehind) {
  constexpr std::size_t kLength = 100;
  std::string source(kLength, 'x');
  Secret secret(std::move(source));
  EXPECT_TRUE(
      IsWiped(source.data(), kLength));  // NOLINT(bugprone-use-after-move): it owns its memory
  EXPECT_EQ(secret.text(), std::string(kLength, 'x'));
  secret = Secret(std::string("short"));
  EXPECT_EQ(secret.text(), "short");
  EXPECT_TRUE(IsWiped(secret.text().data() + 5, kLength - 5));
  const Secret& same = secret;
  secret = same;
  EXPECT_EQ(secret.text(), "short");
}

}  // namespace
}  // namespace qv
