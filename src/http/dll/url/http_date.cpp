#include "url/http_date.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string_view>

#include "frame/text.h"

namespace qv {
namespace {

constexpr LONG kUnknown = -1;
constexpr LONG kMonthsPerYear = 12;
constexpr LONG kLongestMonth = 31;
constexpr LONG kHoursPerDay = 24;
constexpr LONG kMinutesPerHour = 60;
constexpr LONG kSecondsPerMinute = 60;
constexpr LONG kSecondsPerHour = kMinutesPerHour * kSecondsPerMinute;
constexpr int64_t kSecondsPerDay = int64_t{kHoursPerDay} * kSecondsPerHour;
constexpr LONG kNoon = 12;
constexpr LONG kFirstYear = 1970;
constexpr LONG kLastYear = 3000;
constexpr LONG kCentury = 100;
constexpr LONG kPivotYear = 70;  // two-digit years from here on belong to the 20th century
constexpr LONG kTwentiethCentury = 1900;
constexpr LONG kTwentyFirstCentury = 2000;
constexpr std::size_t kZoneDigits = 4;
constexpr std::size_t kMonthNameLength = 3;
constexpr std::string_view kMonthNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr bool IsTokenCharacter(char c) {
  return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool AllDigits(std::string_view text) { return std::all_of(text.begin(), text.end(), IsDigit); }

// The number that a token begins with, 0 when there is none; what does not fit is beyond any range.
LONG NumberOf(std::string_view token) {
  constexpr LONG kTooLarge = std::numeric_limits<LONG>::max();
  if (!IsDigit(token.front())) return 0;
  const uint64_t value = ParseLeadingDecimal(token).value_or(kTooLarge);
  return static_cast<LONG>(std::min<uint64_t>(value, kTooLarge));
}

// 1 to 12, 0 for any other word.
LONG MonthOf(std::string_view word) {
  for (LONG month = 1; month <= kMonthsPerYear; ++month) {
    if (EqualsNoCase(word.substr(0, kMonthNameLength), kMonthNames[month - 1])) return month;
  }
  return 0;
}

int64_t SecondsOf(LONG year, LONG month, LONG day, LONG hour, LONG minute, LONG second) {
  const std::chrono::sys_days first = std::chrono::year(year) /
                                      std::chrono::month(static_cast<unsigned>(month)) /
                                      std::chrono::day(1);
  const int64_t days = first.time_since_epoch().count() + day - 1;
  return days * kSecondsPerDay + int64_t{hour} * kSecondsPerHour +
         int64_t{minute} * kSecondsPerMinute + second;
}

// Reads the fields token by token: a token is a run of letters and digits.
class DateReader {
 public:
  explicit DateReader(std::string_view text) : text_(text) { ReadTokens(); }

  bool InRange() const {
    return InRange(year_, kFirstYear, kLastYear) && InRange(month_, 1, kMonthsPerYear) &&
           InRange(day_, 1, kLongestMonth) && InRange(hour_, 0, kHoursPerDay - 1) &&
           InRange(minute_, 0, kMinutesPerHour - 1) && InRange(second_, 0, kSecondsPerMinute - 1);
  }

  int64_t Seconds() const {
    return SecondsOf(year_, month_, day_, hour_, minute_, second_) + zone_;
  }
  LONG zone() const { return zone_; }
  Result<LONG> LocalBias() const;

 private:
  static bool InRange(LONG value, LONG first, LONG last) { return value >= first && value <= last; }

  void ReadTokens();
  bool IsFinalGmt(std::size_t start) const;
  bool ReadZone(std::size_t start);
  void ReadTimePart(std::string_view token);
  void ReadWord(std::string_view token);
  void ReadNumber(LONG value);

  std::string_view text_;
  LONG year_ = kUnknown;
  LONG month_ = kUnknown;
  LONG day_ = kUnknown;
  LONG hour_ = 0;
  LONG minute_ = 0;
  LONG second_ = 0;
  int time_parts_ = 0;  // hour, minute and second seen so far
  LONG zone_ = 0;
  bool zone_seen_ = false;
};

void DateReader::ReadTokens() {
  std::size_t start = 0;
  while (start < text_.size()) {
    if (!IsTokenCharacter(text_[start])) {
      ++start;
      continue;
    }
    if (time_parts_ > 0 && !zone_seen_) {
      if (IsFinalGmt(start)) break;
      if (ReadZone(start)) {
        start += kZoneDigits;
        continue;
      }
    }
    std::size_t end = start;
    while (end < text_.size() && IsTokenCharacter(text_[end])) ++end;
    const std::string_view token = text_.substr(start, end - start);
    if ((end < text_.size() && text_[end] == ':') || (start > 0 && text_[start - 1] == ':')) {
      ReadTimePart(token);
    } else if (AllDigits(token)) {
      ReadNumber(NumberOf(token));
    } else {
      ReadWord(token);
    }
    start = end;
  }
  if (InRange(year_, 0, kCentury - 1)) year_ += kTwentiethCentury;
}

bool DateReader::IsFinalGmt(std::size_t start) const {
  if (EqualsNoCase(text_.substr(start), "GMT")) return true;
  return start > 0 && EqualsNoCase(text_.substr(start - 1), "(GMT)");
}

// "hhmm" with or without a sign before it; a zone behind UTC ("-") adds to the time.
bool DateReader::ReadZone(std::size_t start) {
  const std::string_view digits = text_.substr(start, kZoneDigits);
  const std::size_t end = start + kZoneDigits;
  if (digits.size() < kZoneDigits || !AllDigits(digits)) return false;
  if (end < text_.size() && !IsSpace(text_[end])) return false;
  const LONG distance = NumberOf(digits.substr(0, 2)) * kSecondsPerHour +
                        NumberOf(digits.substr(2)) * kSecondsPerMinute;
  zone_ = start > 0 && text_[start - 1] == '-' ? distance : -distance;
  zone_seen_ = true;
  return true;
}

void DateReader::ReadTimePart(std::string_view token) {
  LONG* const parts[] = {&hour_, &minute_, &second_};
  if (static_cast<std::size_t>(time_parts_) < std::size(parts)) {
    *parts[time_parts_++] = NumberOf(token);
  }
}

void DateReader::ReadWord(std::string_view token) {
  if (EqualsNoCase(token, "am")) {
    if (hour_ == kNoon) hour_ = 0;
    return;
  }
  if (EqualsNoCase(token, "pm")) {
    if (hour_ < kNoon) hour_ += kNoon;
    return;
  }
  if (month_ != kUnknown && day_ != kUnknown) return;
  const LONG month = MonthOf(token);
  if (month == 0) return;
  // A number before the name of the month was the day after all.
  if (day_ == kUnknown) day_ = month_;
  month_ = month;
}

void DateReader::ReadNumber(LONG value) {
  if (month_ == kUnknown && value <= kMonthsPerYear) {
    if (value > 0) month_ = value;
  } else if (day_ == kUnknown && value <= kLongestMonth) {
    if (value > 0) day_ = value;
  } else if (year_ == kUnknown) {
    year_ = value < kPivotYear ? value + kTwentyFirstCentury : value;
  }
}

// What lies between the fields as local time and as UTC.
Result<LONG> DateReader::LocalBias() const {
  std::tm local = {};
  local.tm_year = year_ - kTwentiethCentury;
  local.tm_mon = month_ - 1;
  local.tm_mday = day_;
  local.tm_hour = hour_;
  local.tm_min = minute_;
  local.tm_sec = second_;
  local.tm_isdst = -1;
  local.tm_wday = kUnknown;  // set by a conversion that succeeds; -1 alone is a time, too
  const std::time_t time = std::mktime(&local);
  if (local.tm_wday == kUnknown) return Error(QV_ERROR_INVALID_DATE_FORMAT);
  return static_cast<LONG>(time - SecondsOf(local.tm_year + kTwentiethCentury, local.tm_mon + 1,
                                            local.tm_mday, local.tm_hour, local.tm_min,
                                            local.tm_sec));
}

}  // namespace

Result<HttpDate> ParseHttpDate(const char* text, bool localize) {
  const DateReader date(TextOf(text));
  if (!date.InRange()) return Error(QV_ERROR_INVALID_DATE_FORMAT);
  const int64_t seconds = date.Seconds();
  if (seconds < 0 || seconds > std::numeric_limits<DWORD>::max()) {
    return Error(QV_ERROR_INVALID_DATE_FORMAT);
  }
  HttpDate result = {static_cast<DWORD>(seconds), date.zone()};
  if (localize) {
    const Result<LONG> bias = date.LocalBias();
    if (!bias) return bias.error();
    result.zone = *bias;
  }
  return result;
}

void SecondsToCalendar(DWORD seconds, SYSTEMTIME* calendar) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  calendar->wYear = static_cast<WORD>(static_cast<int>(date.year()));
  calendar->wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
  calendar->wDayOfWeek = static_cast<WORD>(std::chrono::weekday(day).c_encoding());
  calendar->wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
  calendar->wHour = static_cast<WORD>(clock.hours().count());
  calendar->wMinute = static_cast<WORD>(clock.minutes().count());
  calendar->wSecond = static_cast<WORD>(clock.seconds().count());
  calendar->wMilliseconds = 0;
}

}  // namespace qv
