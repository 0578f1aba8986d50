// Dates of servers.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "url/http_date.h"

namespace qv {
namespace {

constexpr DWORD kSample = 784111777;  // 1994-11-06 08:49:37 UTC

TEST(HttpDateTest, ManyLayoutsAreRead) {
  struct Case {
    const char* text;
    DWORD seconds;
    LONG zone = 0;
  };
  const std::vector<Case> cases = {
      {"Sun, 06 Nov 1994 08:49:37 GMT", kSample},
      {"Sunday, 06-Nov-94 08:49:37 GMT", kSample},
      {"06 Nov 1994 08:49:37 +0000", kSample},
      {"sun, 6 nOVEMBER 1994 8:49:37 (gmt)", kSample},
      {"Nov 6, 1994 08:49:37", kSample},
      {"11/06/1994 08:49:37", kSample},
      {"06-11-94 08:49:37", 771324577},  // without a name the month comes first
      {"1994 11 06 08:49:37", kSample},
      {"Sun, 06 Nov 1994 08:49:37 -0500", 784129777, 18000},
      {"Sun, 06 Nov 1994 08:49:37 +0130 GMT", kSample - 5400, -5400},
      {"Sun, 06 Nov 1994 08:49:37-0500", 784129777, 18000},
      {"Sun, 06 Nov 1994 08:49:37 0100", kSample - 3600, -3600},
      {"Sun, 06 Nov 1994 08:49:37 GMT -0500", 784129777, 18000},  // GMT ends it only at the end
      {"06 Nov 1994 08:49", kSample - 37},
      {"06 Nov 1994", kSample - 31777},
      {"06 Nov 1994 08:49:37 PM", kSample + 43200},
      {"06 Nov 1994 12:49:37 am", kSample - 28800},
      {"06 Nov 1994 12:49:37 pm", kSample + 14400},
      {"06 Nov 1994 08:49:37:59", kSample},
      {"25 Dec 05 00:00:00 GMT", 1135468800},
      {"Dec 25 69 00:00:00 GMT", 3155155200},
      {"Thu, 01 Jan 1970 00:00:00 GMT", 0},
      {"29 Feb 2024 00:00:00 GMT", 1709164800},
      {"31 Feb 2023 00:00:00 GMT", 1677801600},  // runs into March
      {"01 Mar 2000 00:00:00 GMT", 951868800},
      {"Sun, 07 Feb 2106 06:28:15 GMT", 0xFFFFFFFF},
  };
  for (const Case& test : cases) {
    const Result<HttpDate> date = ParseHttpDate(test.text, false);
    ASSERT_TRUE(date) << test.text;
    EXPECT_EQ(date->seconds, test.seconds) << test.text;
    EXPECT_EQ(date->zone, test.zone) << test.text;
  }
}

TEST(HttpDateTest, WhatIsNoDateOrDoesNotFitIsRefused) {
  const std::vector<const char*> cases = {
      nullptr,
      "",
      "0",
      "now",
      "Sun Nov  6 08:49:37 1994",  // the year counts as a zone
      "Wed, 31 Dec 1969 23:59:59 GMT",
      "01 Jan 3001 00:00:00 GMT",
      "01 Jan 3000 00:00:00 GMT",
      "Sun, 07 Feb 2106 06:28:16 GMT",
      "Thu, 01 Jan 1970 00:00:00 +0001",
      "00 Nov 1994 08:49:37 GMT",
      "32 Nov 1994 08:49:37 GMT",
      "06 Nov 1994 24:00:00 GMT",
      "06 Nov 1994 08:60:00 GMT",
      "06 Nov 1994 08:49:60 GMT",
      "06 Nov 1994 4294967304:49:37 GMT",
      "06 Nov 4294969290 08:49:37 GMT",
      "06 Nov 99999999999999999999999999 08:49:37 GMT",
      "Nov 1994 08:49:37 GMT",
  };
  for (const char* text : cases) {
    const Result<HttpDate> date = ParseHttpDate(text, false);
    EXPECT_FALSE(date) << text;
    EXPECT_EQ(date.error(), Error(QV_ERROR_INVALID_DATE_FORMAT)) << text;
  }
}

class LocalizedDateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* zone = std::getenv("TZ")) old_zone_ = zone;
  }
  void TearDown() override {
    if (old_zone_) {
      ::setenv("TZ", old_zone_->c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }

 private:
  std::optional<std::string> old_zone_;
};

TEST_F(LocalizedDateTest, ZoneIsTheLocalBiasAtThatDate) {
  struct Case {
    const char* local_zone;
    const char* text;
    LONG zone;
  };
  const std::vector<Case> cases = {
      {"EST5EDT,M3.2.0,M11.1.0", "15 Jan 2020 12:00:00 GMT", 18000},
      {"EST5EDT,M3.2.0,M11.1.0", "15 Jul 2020 12:00:00 GMT", 14400},
      {"EST5EDT,M3.2.0,M11.1.0", "15 Jul 2020 12:00:00 +0200", 14400},
      {"IST-5:30", "15 Jul 2020 12:00:00 GMT", -19800},
      {"UTC0", "15 Jul 2020 12:00:00 GMT", 0},
      // One second before 1970 here, which is also how a failed conversion looks.
      {"CET-1", "Thu, 01 Jan 1970 00:59:59 GMT", -3600},
  };
  for (const Case& test : cases) {
    ::setenv("TZ", test.local_zone, 1);
    ::tzset();
    const Result<HttpDate> date = ParseHttpDate(test.text, true);
    const Result<HttpDate> plain = ParseHttpDate(test.text, false);
    ASSERT_TRUE(date && plain) << test.text;
    EXPECT_EQ(date->zone, test.zone) << test.local_zone << ' ' << test.text;
    EXPECT_EQ(date->seconds, plain->seconds);
  }
}

TEST(HttpDateTest, SecondsBecomeCalendarFields) {
  struct Case {
    DWORD seconds;
    SYSTEMTIME calendar;
  };
  const std::vector<Case> cases = {
      {0, {1970, 1, 4, 1, 0, 0, 0, 0}},
      {kSample, {1994, 11, 0, 6, 8, 49, 37, 0}},
      {951782400, {2000, 2, 2, 29, 0, 0, 0, 0}},
      {0xFFFFFFFF, {2106, 2, 0, 7, 6, 28, 15, 0}},
  };
  for (const Case& test : cases) {
    SYSTEMTIME calendar = {1, 1, 1, 1, 1, 1, 1, 1};
    SecondsToCalendar(test.seconds, &calendar);
    const auto fields = [](const SYSTEMTIME& time) {
      return std::vector<int>{time.wYear, time.wMonth,  time.wDayOfWeek, time.wDay,
                              time.wHour, time.wMinute, time.wSecond,    time.wMilliseconds};
    };
    EXPECT_EQ(fields(calendar), fields(test.calendar)) << test.seconds;
  }
}

TEST(HttpDateTest, RandomTextIsReadOrRefused) {
  const std::string_view pieces[] = {"Nov",
                                     "Sun, ",
                                     "06",
                                     " ",
                                     ":",
                                     "+0100",
                                     "-",
                                     "GMT",
                                     "1994",
                                     "99999",
                                     "(GMT)",
                                     "pm ",
                                     "am",
                                     "\xFF",
                                     "/",
                                     "12",
                                     "0",
                                     "8:",
                                     "9999999999999999999999"};
  std::mt19937 random(11);
  int read = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (std::size_t count = random() % 12; count > 0; --count) {
      text += pieces[random() % std::size(pieces)];
    }
    if (ParseHttpDate(text.c_str(), round % 2 == 0)) ++read;
  }
  EXPECT_GT(read, 0);
}

}  // namespace
}  // namespace qv
