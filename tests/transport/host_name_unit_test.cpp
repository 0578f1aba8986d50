#include <string>

#include "transport/binding_fixture.h"
#include "transport/host_name.h"

namespace qv {
namespace {

using HostNameTest = StartedSocketsTest;

struct Case {
  const char* name;
  const char* normalized;  // null: rejected
};

void ExpectNormalized(const Case& c) {
  SCOPED_TRACE(c.name);
  const std::optional<std::string> host = NormalizeHost(c.name);
  ASSERT_EQ(host.has_value(), c.normalized != nullptr) << host.value_or("");
  if (host) {
    EXPECT_EQ(*host, c.normalized);
  }
}

const std::string kLongestLabel(63, 'a');
const std::string kTooLongLabel(64, 'a');

// Four labels of 63, 63, 63 and `last` characters: 192 + last characters in all.
std::string NameOfFourLabels(std::size_t last) {
  return kLongestLabel + "." + kLongestLabel + "." + kLongestLabel + "." + std::string(last, 'b');
}

void ExpectAsciiNamesNormalized() {
  const std::string longest_label = kLongestLabel + ".example";
  const std::string too_long_label = kTooLongLabel + ".example";
  const std::string too_long_name = NameOfFourLabels(63) + ".";
  const Case cases[] = {
      {"  MyServer.Local.", "myserver.local"},
      {"\t\r\nhost.example \x1f", "host.example"},
      {"first second", "first"},
      {"abc", "abc"},
      {"ABC.DE", "abc.de"},
      {"1.2.3.4.5", "1.2.3.4.5"},
      {"256.0.0.1", "256.0.0.1"},
      {"a-b.c--d", "a-b.c--d"},
      {"10.0.0.1", "10.0.0.1"},
      {" 10.0.0.1. ", "10.0.0.1"},
      {"::1", "::1"},
      {"0:0:0:0:0:0:0:1", "::1"},
      {"FE80:0::00AB", "fe80::ab"},
      {longest_label.c_str(), longest_label.c_str()},
      {too_long_label.c_str(), nullptr},
      {too_long_name.c_str(), nullptr},
      {nullptr, nullptr},
      {"", nullptr},
      {" \t ", nullptr},
      {".", nullptr},
      {"ab", nullptr},
      {"ab.", nullptr},
      {"-abc", nullptr},
      {".abc", nullptr},
      {"my_host", nullptr},
      {"host:80", nullptr},
      {"[::1]", nullptr},
      {"ab%20c", nullptr},
      {"abc\x7f", nullptr},
  };
  for (const Case& c : cases) ExpectNormalized(c);
}

TEST_F(HostNameTest, NamesAndAddressesAreNormalized) { ExpectAsciiNamesNormalized(); }

TEST_F(HostNameTest, NamesBeyondAsciiAreConverted) {
  ASSERT_TRUE(IdnAvailable());
  const Case cases[] = {
      {"M\xC3\x9CNCHEN.example", "xn--mnchen-3ya.example"},
      {"b\xC3\xBC"
       "cher.example.",
       "xn--bcher-kva.example"},
      {"\xE4\xBE\x8B\xE3\x81\x88.jp", "xn--r8jz45g.jp"},
      {"b\xFC"
       "cher.example",
       nullptr},                         // Latin-1
      {"abc\xE4\xBE", nullptr},          // cut short
      {"abc\xC0\xAE.example", nullptr},  // not the shortest form: no character
  };
  for (const Case& c : cases) ExpectNormalized(c);
}

TEST_F(HostNameTest, SyntaxCountsOnlyAsciiTowardsALabel) {
  ASSERT_TRUE(IdnAvailable());
  const std::string two = "\xC3\xBC";
  const std::string three = "\xE4\xBE\x8B";
  const std::string four = "\xF0\x9F\x8C\x8D";
  EXPECT_TRUE(CheckHostSyntax("a" + two + three + four));
  EXPECT_TRUE(CheckHostSyntax(two + kLongestLabel + three));
  EXPECT_FALSE(CheckHostSyntax(two + kTooLongLabel));
  EXPECT_FALSE(CheckHostSyntax("ab\x80"));  // follows no lead byte
  EXPECT_FALSE(
      CheckHostSyntax("ab\xC3"
                      "c"));                                // followed by a letter
  EXPECT_FALSE(CheckHostSyntax("ab\xF8\x88\x80\x80\x80"));  // five bytes
  EXPECT_FALSE(CheckHostSyntax(four.substr(0, 3)));
}

TEST_F(HostNameTest, SyntaxLimitsTheLength) {
  EXPECT_FALSE(CheckHostSyntax(""));
  EXPECT_FALSE(CheckHostSyntax("ab"));
  EXPECT_TRUE(CheckHostSyntax(NameOfFourLabels(63)));
  EXPECT_FALSE(CheckHostSyntax(NameOfFourLabels(63) + "."));
  EXPECT_FALSE(CheckHostSyntax(std::string_view("abc\0de", 6)));
}

TEST(HostNameWithoutConversionTest, OnlyAsciiIsAccepted) {
  InFreshProcess([] {
    platform::testing::HideModule("normaliz.dll");
    ASSERT_EQ(StartSockets(), 0u);
    EXPECT_FALSE(IdnAvailable());
    ExpectAsciiNamesNormalized();
    ExpectNormalized(
        {"b\xC3\xBC"
         "cher.example",
         nullptr});
    EXPECT_EQ(NormalizeHost(NameOfFourLabels(63).c_str()), NameOfFourLabels(63));
    EXPECT_FALSE(ToAsciiName("host.example"));
  });
}

}  // namespace
}  // namespace qv
