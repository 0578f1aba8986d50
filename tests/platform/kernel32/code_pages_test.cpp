#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "platform/kernel32.h"

namespace {

std::optional<std::u16string> Decode(UINT page, DWORD flags, const std::string& source) {
  const int length = static_cast<int>(source.size());
  const int needed = MultiByteToWideChar(page, flags, source.data(), length, nullptr, 0);
  if (needed == 0) return std::nullopt;
  std::u16string target(static_cast<size_t>(needed), u'\0');
  EXPECT_EQ(MultiByteToWideChar(page, flags, source.data(), length, target.data(), needed), needed);
  EXPECT_EQ(MultiByteToWideChar(page, flags, source.data(), length, target.data(), needed - 1),
            needed == 1 ? needed : 0);
  return target;
}

std::optional<std::string> Encode(UINT page, const std::u16string& source, BOOL* defaulted) {
  const int length = static_cast<int>(source.size());
  const int needed =
      WideCharToMultiByte(page, 0, source.data(), length, nullptr, 0, nullptr, defaulted);
  if (needed == 0) return std::nullopt;
  std::string target(static_cast<size_t>(needed), '\0');
  EXPECT_EQ(
      WideCharToMultiByte(page, 0, source.data(), length, target.data(), needed, nullptr, nullptr),
      needed);
  return target;
}

TEST(CodePages, Utf8IsStrict) {
  const struct {
    const char* bytes;
    const char16_t* lenient;
    bool valid;
  } cases[] = {
      {"abc", u"abc", true},
      {"\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00FC\u20AC\U0001F600", true},
      {"\xF4\x8F\xBF\xBF", u"\U0010FFFF", true},
      {"\xC0\xAF", u"\uFFFD\uFFFD", false},            // overlong
      {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD", false},  // overlong
      {"\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},  // a surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},
      {"\xFF", u"\uFFFD", false},
      {"a\x80z", u"a\uFFFDz", false},
      {"\xE2\x82", u"\uFFFD", false},  // cut off
      {"\xE2\x82z", u"\uFFFDz", false},
      {"\xF0\x9F\x98", u"\uFFFD", false},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(Decode(CP_UTF8, 0, test.bytes), test.lenient) << test.bytes;
    SetLastError(0);
    EXPECT_EQ(Decode(CP_UTF8, MB_ERR_INVALID_CHARS, test.bytes).has_value(), test.valid);
    if (!test.valid) {
      EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
      continue;
    }
    EXPECT_EQ(Encode(CP_UTF8, test.lenient, nullptr), test.bytes);
  }
}

TEST(CodePages, LoneSurrogatesBecomeTheReplacement) {
  const std::u16string low_first = {u'a', 0xDC00, 0xD800, u'b', 0xD83D};
  EXPECT_EQ(Encode(CP_UTF8, low_first, nullptr),
            "a\xEF\xBF\xBD\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, low_first.data(), 5, nullptr, 0,
                                nullptr, nullptr),
            0);
  EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
}

TEST(CodePages, RoundTrips) {
  const struct {
    UINT page;
    std::string bytes;
    std::u16string text;
  } cases[] = {
      {1252, "\x80\xE4", u"\u20AC\u00E4"},
      {1251, "\xCF\xF0", u"\u041F\u0440"},
      {28605, "\xA4", u"\u20AC"},
      {437, "\x81", u"\u00FC"},
      {932, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},
      {936, "\xD6\xD0", u"\u4E2D"},
      {949, "\xC7\xD1", u"\uD55C"},
      {950, "\xA4\xA4", u"\u4E2D"},
      {20932, "\xC6\xFC", u"\u65E5"},
      {50220, "\x1B$BF|\x1B(B", u"\u65E5"},
      {54936, "\x94\x39\xFC\x36", u"\U0001F600"},
      {65000, "+ZeU-", u"\u65E5"},
      {CP_US_ASCII, "abc", u"abc"},
  };
  for (const auto& test : cases) {
    EXPECT_TRUE(IsValidCodePage(test.page)) << test.page;
    EXPECT_EQ(Decode(test.page, 0, test.bytes), test.text) << test.page;
    EXPECT_EQ(Encode(test.page, test.text, nullptr), test.bytes) << test.page;
  }
}

TEST(CodePages, WhatAPageLacks) {
  const struct {
    UINT page;
    std::u16string text;
    std::string bytes;
  } cases[] = {
      {1252, u"a\u65E5z", "a?z"},
      {1252, u"\U0001F600", "?"},
      {1252, {u'a', 0xD800}, "a?"},
      {CP_US_ASCII, u"\u00FC", "?"},
      {50220, u"\u65E5\U0001F600", "\x1B$BF|\x1B(B?"},
  };
  for (const auto& test : cases) {
    BOOL defaulted = FALSE;
    EXPECT_EQ(Encode(test.page, test.text, &defaulted), test.bytes);
    EXPECT_TRUE(defaulted);
  }
  char target[10];
  EXPECT_EQ(WideCharToMultiByte(1252, 0, u"\u65E5", -1, target, 10, "--", nullptr), 3);
  EXPECT_STREQ(target, "--");
  BOOL defaulted = TRUE;
  EXPECT_EQ(Encode(1252, u"\u00E4", &defaulted), "\xE4");
  EXPECT_FALSE(defaulted);
  EXPECT_EQ(Decode(1252, 0, "a\x81z"), u"a\uFFFDz");
  EXPECT_EQ(Decode(1252, MB_ERR_INVALID_CHARS, "a\x81z"), std::nullopt);
  EXPECT_EQ(Decode(932, MB_ERR_INVALID_CHARS, "a\x93"), std::nullopt);
  EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
}

TEST(CodePages, RefusesArgumentsAndFlags) {
  WCHAR wide[4];
  char narrow[4];
  BOOL defaulted = FALSE;
  const auto decode = [&](UINT page, DWORD flags, LPCSTR source, int length, int capacity) {
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(page, flags, source, length, wide, capacity), 0);
    return GetLastError();
  };
  EXPECT_EQ(decode(CP_UTF8, 0, "abc", 0, 4), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(decode(CP_UTF8, 0, nullptr, 1, 4), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(decode(CP_UTF8, 0, "abc", 3, -1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(decode(CP_UTF8, 0, "abc", 3, 2), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(decode(CP_UTF8, 0, "abcd", -1, 4), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(decode(1252, 0, "abcd", -1, 4), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(decode(12345, 0, "abc", 3, 4), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(decode(CP_UTF8, MB_PRECOMPOSED, "abc", 3, 4), ERROR_INVALID_FLAGS);
  for (const UINT page : {50220u, 50225u, 50227u, 65000u}) {
    EXPECT_EQ(decode(page, MB_ERR_INVALID_CHARS, "abc", 3, 4), ERROR_INVALID_FLAGS) << page;
  }
  EXPECT_EQ(MultiByteToWideChar(54936, MB_ERR_INVALID_CHARS, "abc", 3, wide, 4), 3);
  EXPECT_EQ(MultiByteToWideChar(1252, MB_PRECOMPOSED, "abc", -1, wide, 4), 4);
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"abc", 3, narrow, 4, nullptr, &defaulted), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(WideCharToMultiByte(1252, 0, u"abcd", -1, narrow, 4, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_FALSE(IsValidCodePage(CP_ACP));
  EXPECT_FALSE(IsValidCodePage(28602));
  EXPECT_EQ(lstrlenW(nullptr), 0);
}

TEST(CodePages, AnsiPageIsThatOfTheLocale) {
  const struct {
    const char* locale;
    UINT page;
  } cases[] = {
      {"", CP_UTF8},
      {"C", CP_UTF8},
      {"en_GB.UTF-8", CP_UTF8},
      {"en_GB.utf8@x", CP_UTF8},
      {"de_DE.ISO-8859-15@euro", 28605},
      {"de_DE.iso88591", 28591},
      {"ru_RU.KOI8-R", 20866},
      {"ru_RU.CP1251", 1251},
      {"ja_JP.SJIS", 932},
      {"ja_JP.eucJP", 20932},
      {"xx_XX.unheard-of", CP_UTF8},
  };
  unsetenv("LC_CTYPE");
  setenv("LANG", "ru_RU.KOI8-R", 1);
  for (const auto& test : cases) {
    setenv("LC_ALL", test.locale, 1);
    EXPECT_EQ(GetACP(), *test.locale != '\0' ? test.page : 20866) << test.locale;
  }
  setenv("LC_ALL", "de_DE.CP1252", 1);
  EXPECT_EQ(Decode(CP_ACP, 0, "\x80"), u"\u20AC");
  EXPECT_EQ(Encode(CP_THREAD_ACP, u"\u20AC", nullptr), "\x80");
  unsetenv("LC_ALL");
  unsetenv("LANG");
}

}  // namespace
