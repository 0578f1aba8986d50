// Parsing and composing hold together for texts that nobody thought of.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "frame/text.h"
#include "url/url_composer.h"
#include "url/url_parser.h"

namespace qv {
namespace {

bool IsPlainHost(const std::string& host) {
  return !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
    return IsDigit(c) || c == '.' || (c >= 'a' && c <= 'z');
  });
}

void DropEmpty(std::optional<std::string>& part) {
  if (part && part->empty()) part.reset();
}

// As composing sees it: empty parts are absent, and no user name means no password.
Url Simplified(Url url) {
  for (auto* part : {&url.query, &url.user, &url.password}) DropEmpty(*part);
  if (!url.user) url.password.reset();
  return url;
}

TEST(UrlTest, WhatIsParsedComposesToTheSameParts) {
  const std::string_view pieces[] = {"http",  "s",  "feed:", "://", ":", "/", "//", "@",
                                     "[::1]", "[",  "]",     "?",   "a", ".", "80", "65536",
                                     "\xFF",  "\n", "host",  "=",   "#", "%"};
  std::mt19937 random(5);
  int composed = 0;
  for (int round = 0; round < 100000; ++round) {
    std::string text = round % 4 == 0 ? "" : "http://";
    for (std::size_t count = random() % 10; count > 0; --count) {
      text += pieces[random() % std::size(pieces)];
    }
    const DWORD options = round % 3 == 0 ? HTTP_URLOPT_NORMALIZE : 0;
    const std::optional<Url> url = ParseUrl(text, options);
    if (!url) continue;
    EXPECT_TRUE(url->resource.starts_with('/')) << text;
    EXPECT_TRUE(url->port >= 1 && url->port <= 65535) << text;
    EXPECT_TRUE(url->scheme == HTTP_SCHEME_HTTP || url->scheme == HTTP_SCHEME_HTTPS) << text;
    if (!IsPlainHost(url->host)) continue;

    const std::optional<std::string> again = CreateUrl(*url, 0, kLargestUrlRoom);
    ASSERT_TRUE(again) << text;
    ++composed;
    const std::optional<Url> reparsed = ParseUrl(*again, options);
    ASSERT_TRUE(reparsed) << text;
    const Url expected = Simplified(*url);
    EXPECT_EQ(reparsed->scheme, expected.scheme) << text;
    EXPECT_EQ(reparsed->port, expected.port) << text;
    EXPECT_EQ(reparsed->host, expected.host) << text;
    EXPECT_EQ(reparsed->resource, expected.resource) << text;
    EXPECT_EQ(reparsed->query, expected.query) << text;
    EXPECT_EQ(reparsed->user, expected.user) << text;
    EXPECT_EQ(reparsed->password, expected.password) << text;
  }
  EXPECT_GT(composed, 1000);
}

TEST(UrlTest, TextWithATerminatorInsideIsNoUrl) {
  EXPECT_FALSE(ParseUrl(std::string_view("http://a\0b/", 11), 0));
}

}  // namespace
}  // namespace qv
