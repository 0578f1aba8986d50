#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/kernel32.h"

namespace {

// Puts the variables that the tests change back as they were.
class Environment : public ::testing::Test {
 protected:
  Environment() {
    for (const char* name : {"HOME", "TMPDIR", "TEMP", "TMP", "USERPROFILE", "APPDATA",
                             "XDG_CONFIG_HOME", "LAYER_TEST", "Layer_Mixed"}) {
      const char* const value = std::getenv(name);
      saved_.emplace_back(name,
                          value != nullptr ? std::optional<std::string>(value) : std::nullopt);
    }
  }
  ~Environment() override {
    for (const auto& [name, value] : saved_) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

std::string Expand(const char* source) {
  char target[1000];
  const DWORD count = ExpandEnvironmentStringsA(source, target, sizeof(target));
  EXPECT_EQ(count, std::strlen(target) + 1);
  return target;
}

TEST_F(Environment, ExpandsReferences) {
  setenv("LAYER_TEST", "value", 1);
  setenv("Layer_Mixed", "mixed", 1);
  setenv("HOME", "/home/me", 1);
  setenv("TMPDIR", "/scratch", 1);
  unsetenv("TEMP");
  unsetenv("TMP");
  unsetenv("USERPROFILE");
  unsetenv("APPDATA");
  unsetenv("XDG_CONFIG_HOME");
  const struct {
    const char* source;
    const char* expanded;
  } cases[] = {
      {"", ""},
      {"plain", "plain"},
      {"a%LAYER_TEST%b", "avalueb"},
      {"%layer_test%", "value"},
      {"%Layer_Mixed%%LAYER_MIXED%", "mixed%LAYER_MIXED%"},
      {"%NO_SUCH_NAME%", "%NO_SUCH_NAME%"},
      {"50%LAYER_TEST", "50%LAYER_TEST"},
      {"x%no%LAYER_TEST%", "x%novalue"},
      {"%%", "%%"},
      {"%TEMP%\\x", "/scratch\\x"},
      {"%tmp%", "/scratch"},
      {"%USERPROFILE%", "/home/me"},
      {"%APPDATA%", "/home/me/.config"},
  };
  for (const auto& test : cases) EXPECT_EQ(Expand(test.source), test.expanded) << test.source;
  setenv("XDG_CONFIG_HOME", "/conf", 1);
  unsetenv("TMPDIR");
  EXPECT_EQ(Expand("%APPDATA%%TEMP%"), "/conf/tmp");
  setenv("TEMP", "/own", 1);
  EXPECT_EQ(Expand("%temp%"), "/own");
}

TEST_F(Environment, TellsTheNeededCapacity) {
  setenv("LAYER_TEST", "v\xC3\xBC", 1);
  char narrow[4];
  EXPECT_EQ(ExpandEnvironmentStringsA("%LAYER_TEST%", narrow, 3), 4u);
  EXPECT_EQ(ExpandEnvironmentStringsA("%LAYER_TEST%", nullptr, 0), 4u);
  EXPECT_EQ(ExpandEnvironmentStringsA("%LAYER_TEST%", narrow, 4), 4u);
  EXPECT_STREQ(narrow, "v\xC3\xBC");
  WCHAR wide[3];
  EXPECT_EQ(ExpandEnvironmentStringsW(u"%LAYER_TEST%", wide, 3), 3u);
  EXPECT_EQ(std::u16string(wide), u"v\u00FC");
  EXPECT_EQ(ExpandEnvironmentStringsW(u"%LAYER_TEST%", wide, 2), 3u);
}

TEST(System, VersionForBothRecordSizes) {
  OSVERSIONINFOEXA version;
  std::memset(&version, 0xEE, sizeof(version));
  auto* const basic = reinterpret_cast<OSVERSIONINFOA*>(&version);
  version.dwOSVersionInfoSize = 148;
  EXPECT_TRUE(GetVersionExA(basic));
  EXPECT_EQ(version.dwMajorVersion, 10u);
  EXPECT_EQ(version.wServicePackMajor, 0xEEEE);  // beyond the basic record
  version.dwOSVersionInfoSize = 156;
  EXPECT_TRUE(GetVersionExA(basic));
  EXPECT_EQ(version.dwOSVersionInfoSize, 156u);
  EXPECT_EQ(version.dwBuildNumber, 19045u);
  EXPECT_EQ(version.dwPlatformId, VER_PLATFORM_WIN32_NT);
  EXPECT_EQ(version.wServicePackMajor, 0u);
  version.dwOSVersionInfoSize = 150;
  EXPECT_FALSE(GetVersionExA(basic));
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

TEST(System, ComputerNameAndItsCapacity) {
  char host[HOST_NAME_MAX + 1] = {};
  ASSERT_EQ(gethostname(host, sizeof(host) - 1), 0);
  DWORD size = 0;
  EXPECT_FALSE(GetComputerNameExA(ComputerNameDnsFullyQualified, nullptr, &size));
  EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
  EXPECT_EQ(size, std::strlen(host) + 1);
  std::string name(size, 'x');
  EXPECT_TRUE(GetComputerNameExA(ComputerNameDnsFullyQualified, name.data(), &size));
  EXPECT_EQ(size, std::strlen(host));
  EXPECT_STREQ(name.c_str(), host);
  size = static_cast<DWORD>(name.size());
  EXPECT_TRUE(GetComputerNameExA(ComputerNameDnsHostname, name.data(), &size));
  EXPECT_EQ(name.substr(0, size), std::string(host).substr(0, std::string(host).find('.')));
}

TEST(System, SleepTakesItsTime) {
  const DWORD start = GetTickCount();
  Sleep(50);
  EXPECT_GE(GetTickCount() - start, 49u);
}

TEST(System, CalendarIsThatOfTheClock) {
  setenv("TZ", "UTC-2", 1);
  tzset();
  SYSTEMTIME utc = {};
  SYSTEMTIME local = {};
  GetSystemTime(&utc);
  GetLocalTime(&local);
  const int hours = (local.wHour - utc.wHour + 24) % 24;
  EXPECT_TRUE(hours == 2 || hours == 3) << hours;  // the hour may change between the two
  const auto days = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
  const std::chrono::year_month_day today{days};
  EXPECT_EQ(utc.wYear, static_cast<int>(today.year()));
  EXPECT_EQ(utc.wMonth, static_cast<unsigned>(today.month()));
  EXPECT_EQ(utc.wDayOfWeek, std::chrono::weekday{days}.c_encoding());
  unsetenv("TZ");
  tzset();
}

}  // namespace
