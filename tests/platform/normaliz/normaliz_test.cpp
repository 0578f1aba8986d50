#include <gtest/gtest.h>

#include <string>

#include "platform/ws2_32/socket_api.h"

namespace test {
namespace {

normaliz::IdnToAsciiFn ToAscii() {
  return Entry<normaliz::IdnToAsciiFn>("normaliz.dll", "IdnToAscii");
}

normaliz::IdnToNameprepUnicodeFn ToUnicode() {
  return Entry<normaliz::IdnToNameprepUnicodeFn>("normaliz.dll", "IdnToNameprepUnicode");
}

constexpr int kCapacity = 256;

// The converted name; empty with the platform error set on failure.
template <typename Function>
std::u16string Convert(Function function, const std::u16string& name) {
  char16_t target[kCapacity] = {};
  SetLastError(0);
  const int length = function(0, name.data(), static_cast<int>(name.size()), target, kCapacity);
  return {target, static_cast<std::size_t>(length)};
}

TEST(DomainNames, HaveTwoForms) {
  const struct {
    const char16_t *name, *unicode, *ascii;
  } kCases[] = {
      {u"MyServer.Local", u"myserver.local", u"myserver.local"},
      {u"host.example.", u"host.example.", u"host.example."},
      // Forms that only internationalized labels must not have.
      {u"r3---sn-4g5e.example", u"r3---sn-4g5e.example", u"r3---sn-4g5e.example"},
      {u"_srv.a-.B\u00FCcher.de", u"_srv.a-.b\u00FCcher.de", u"_srv.a-.xn--bcher-kva.de"},
      {u"B\u00DCCHER.de", u"b\u00FCcher.de", u"xn--bcher-kva.de"},
      {u"bu\u0308cher.de", u"b\u00FCcher.de", u"xn--bcher-kva.de"},
      {u"fa\u00DF.de", u"fa\u00DF.de", u"xn--fa-hia.de"},
      {u"XN--bcher-kva.de", u"xn--bcher-kva.de", u"xn--bcher-kva.de"},
      {u"b\u00FCcher\u3002de", u"b\u00FCcher.de", u"xn--bcher-kva.de"},
      {u"\uFF21\uFF22.example", u"ab.example", u"ab.example"},
  };
  for (const auto& each : kCases) {
    EXPECT_EQ(Convert(ToUnicode(), each.name), each.unicode);
    EXPECT_EQ(Convert(ToAscii(), each.name), each.ascii);
    EXPECT_EQ(Convert(ToAscii(), Convert(ToUnicode(), each.name)), each.ascii);
  }
}

TEST(DomainNames, InvalidOnesAreRefused) {
  const std::u16string kCases[] = {
      u"a..b",
      u".a",
      u".",
      std::u16string(u"a\0b", 3),
      u"a\u007Fb",
      std::u16string(64, u'a') + u".de",
      std::u16string(256, u'\u00FC'),
      u"\xD800.de",            // half of a surrogate pair
      u"evil\u2100b.example",  // would become a name with a slash
      u"a\u2024b.example",     // would become a name with one more label
      u"\u2603.example",
      u"\u200D.example",
  };
  for (const auto& name : kCases) {
    EXPECT_EQ(Convert(ToAscii(), name), u"");
    EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
    EXPECT_EQ(Convert(ToUnicode(), name), u"");
    EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
  }
}

TEST(DomainNames, LengthsFollowTheSource) {
  char16_t target[kCapacity];
  EXPECT_EQ(ToAscii()(0, u"Host", -1, target, kCapacity), 5);
  EXPECT_EQ(target, std::u16string(u"host"));
  EXPECT_EQ(ToAscii()(0, u"Host.de", 4, target, kCapacity), 4);
  EXPECT_EQ(ToAscii()(0, u"Host", -1, target, 5), 5);
  EXPECT_EQ(ToAscii()(0, u"Host", -1, nullptr, 0), 5);
  EXPECT_EQ(ToAscii()(0, u"Host", -1, target, 4), 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(ToUnicode()(0, nullptr, -1, target, kCapacity), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace test
