#include "url/http_date.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <limits>
#include <optional>
#include <string_view>

#include "frame/text.h"

namespace qv {
namespace {

constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<int, 12> kDaysPerMonth = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr int kFirstYear = 1970;
constexpr int kLastYear = 3000;
constexpr int kCenturySplit = 70;  // two-digit years below it are in this century
constexpr int kUnknown = -1;
constexpr int64_t kSecondsPerDay = 86400;
constexpr LONG kSecondsPerHour = 3600;
constexpr LONG kSecondsPerMinute = 60;
constexpr int kFirstDayOfWeek = 4;  // 1970-01-01 was a Thursday

constexpr bool IsLeapYear(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

constexpr int DaysOfMonth(int year, int month) {
  const int days = kDaysPerMonth[static_cast<std::size_t>(month - 1)];
  return month == 2 && IsLeapYear(year) ? days + 1 : days;
}

bool IsWordCharacter(char c) {
  const char lower = ToLower(c);
  return IsDigit(c) || (lower >= 'a' && lower <= 'z');
}

bool IsNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

// A decimal number, cut at a value that no field of a date can have.
int NumberOf(std::string_view text) {
  constexpr int kTooLarge = 100000;
  int value = 0;
  for (char c : text) {
    if (!IsDigit(c)) break;
    value = std::min(value * 10 + (c - '0'), kTooLarge);
  }
  return value;
}

// Takes a date apart, token by token.
class DateParser {
 public:
  explicit DateParser(std::string_view text) : text_(text) {}

  // Whether the fields make a date.
  bool Parse() {
    while (position_ < text_.size()) {
      if (TakeZone()) {
        if (ended_) break;
        continue;
      }
      if (!IsWordCharacter(text_[position_])) {
        ++position_;
        continue;
      }
      TakeToken();
    }
    if (year_ >= 0 && year_ < 100) year_ += 1900;
    return year_ >= kFirstYear && year_ <= kLastYear && month_ >= 1 && month_ <= 12 && day_ >= 1 &&
           day_ <= 31 && Hour() >= 0 && Hour() <= 23 && Minute() <= 59 && Second() <= 59;
  }

  int64_t Seconds() const {
    int64_t days = 0;
    for (int year = kFirstYear; year < year_; ++year) days += IsLeapYear(year) ? 366 : 365;
    for (int month = 1; month < month_; ++month) days += DaysOfMonth(year_, month);
    days += day_ - 1;
    return days * kSecondsPerDay + Hour() * kSecondsPerHour + Minute() * kSecondsPerMinute +
           Second() + zone_;
  }

  LONG zone() const { return zone_; }

  std::tm Broken() const {
    std::tm time{};
    time.tm_year = year_ - 1900;
    time.tm_mon = month_ - 1;
    time.tm_mday = day_;
    time.tm_hour = Hour();
    time.tm_min = Minute();
    time.tm_sec = Second();
    time.tm_isdst = -1;
    return time;
  }

 private:
  int Hour() const { return std::max(time_[0], 0); }
  int Minute() const { return std::max(time_[1], 0); }
  int Second() const { return std::max(time_[2], 0); }

  // A zone at the start of a token, once a time was seen.
  bool TakeZone() {
    if (time_[0] == kUnknown || zone_seen_) return false;
    if (position_ > 0 && IsWordCharacter(text_[position_ - 1])) return false;
    const std::string_view rest = text_.substr(position_);
    if (EqualsNoCase(rest, "GMT") || EqualsNoCase(rest, "(GMT)")) {
      zone_seen_ = ended_ = true;
      return true;
    }
    const bool is_signed = rest.front() == '+' || rest.front() == '-';
    const std::size_t start = is_signed ? 1 : 0;
    const std::size_t end = start + 4;
    if (rest.size() < end || !IsNumber(rest.substr(start, 4))) return false;
    if (rest.size() > end && !IsSpace(rest[end])) return false;
    const LONG correction =
        (NumberOf(rest.substr(start, 2)) * 60 + NumberOf(rest.substr(start + 2, 2))) *
        kSecondsPerMinute;
    zone_ = rest.front() == '-' ? correction : -correction;
    zone_seen_ = true;
    position_ += end;
    return true;
  }

  void TakeToken() {
    const std::size_t start = position_;
    while (position_ < text_.size() && IsWordCharacter(text_[position_])) ++position_;
    const std::string_view token = text_.substr(start, position_ - start);
    const bool before_colon = position_ < text_.size() && text_[position_] == ':';
    const bool after_colon = start > 0 && text_[start - 1] == ':';
    if (before_colon || after_colon) {
      TakeTime(token);
    } else {
      TakeWord(token);
    }
  }

  void TakeTime(std::string_view token) {
    const auto next = std::find(time_.begin(), time_.end(), kUnknown);
    if (next != time_.end()) *next = NumberOf(token);
  }

  void TakeWord(std::string_view token) {
    if (EqualsNoCase(token, "am")) {
      if (time_[0] == 12) time_[0] = 0;
      return;
    }
    if (EqualsNoCase(token, "pm")) {
      if (time_[0] != kUnknown && time_[0] < 12) time_[0] += 12;
      return;
    }
    if (month_ != kUnknown && day_ != kUnknown && year_ != kUnknown) return;
    if ((month_ == kUnknown || day_ == kUnknown) && TakeMonthName(token)) return;
    if (IsNumber(token)) TakeNumber(NumberOf(token));
  }

  bool TakeMonthName(std::string_view token) {
    const std::string_view name = token.substr(0, 3);
    const auto* found = std::find_if(kMonths.begin(), kMonths.end(), [&](std::string_view month) {
      return EqualsNoCase(month, name);
    });
    if (found == kMonths.end()) return false;
    if (month_ != kUnknown && day_ == kUnknown) day_ = month_;
    month_ = static_cast<int>(found - kMonths.begin()) + 1;
    return true;
  }

  void TakeNumber(int value) {
    if (month_ == kUnknown && value <= 12) {
      if (value > 0) month_ = value;
    } else if (day_ == kUnknown && value <= 31) {
      if (value > 0) day_ = value;
    } else if (year_ == kUnknown) {
      year_ = value < kCenturySplit ? value + 2000 : value;
    }
  }

  std::string_view text_;
  std::size_t position_ = 0;
  int year_ = kUnknown;
  int month_ = kUnknown;
  int day_ = kUnknown;
  std::array<int, 3> time_ = {kUnknown, kUnknown, kUnknown};  // hour, minute, second
  LONG zone_ = 0;
  bool zone_seen_ = false;
  bool ended_ = false;
};

// How far local time is behind UTC at that local time, in seconds; nothing when there is no such
// time. `as_utc`: the seconds since 1970 that the same fields mean in UTC.
std::optional<LONG> LocalBias(std::tm local, int64_t as_utc) {
  const std::time_t utc = std::mktime(&local);
  if (utc == static_cast<std::time_t>(-1)) return std::nullopt;
  return static_cast<LONG>(utc - as_utc);
}

}  // namespace

Result<HttpDate> ParseHttpDate(const char* text, bool localize) {
  DateParser parser(TextOf(text));
  if (!parser.Parse()) return Error(QV_ERROR_INVALID_DATE_FORMAT);
  const int64_t seconds = parser.Seconds();
  if (seconds < 0 || seconds > int64_t{std::numeric_limits<DWORD>::max()}) {
    return Error(QV_ERROR_INVALID_DATE_FORMAT);
  }
  HttpDate date{static_cast<DWORD>(seconds), parser.zone()};
  if (localize) {
    const std::optional<LONG> bias = LocalBias(parser.Broken(), seconds - parser.zone());
    if (!bias) return Error(QV_ERROR_INVALID_DATE_FORMAT);
    date.zone = *bias;
  }
  return date;
}

void SecondsToCalendar(DWORD seconds, SYSTEMTIME* calendar) {
  int64_t days = seconds / kSecondsPerDay;
  const int64_t rest = seconds % kSecondsPerDay;
  *calendar = SYSTEMTIME{};
  calendar->wDayOfWeek = static_cast<WORD>((days + kFirstDayOfWeek) % 7);
  int year = kFirstYear;
  for (int length = 365; days >= length; length = IsLeapYear(year) ? 366 : 365) {
    days -= length;
    ++year;
  }
  int month = 1;
  for (; days >= DaysOfMonth(year, month); ++month) days -= DaysOfMonth(year, month);
  calendar->wYear = static_cast<WORD>(year);
  calendar->wMonth = static_cast<WORD>(month);
  calendar->wDay = static_cast<WORD>(days + 1);
  calendar->wHour = static_cast<WORD>(rest / kSecondsPerHour);
  calendar->wMinute = static_cast<WORD>(rest % kSecondsPerHour / kSecondsPerMinute);
  calendar->wSecond = static_cast<WORD>(rest % kSecondsPerMinute);
}

}  // namespace qv
