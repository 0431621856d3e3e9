#include "sim/model/Clock.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <ctime>

namespace sim {

namespace {

constexpr TimeNs kSecond = 1'000'000'000;

// Days from 1970-01-01 to the given civil date (proleptic Gregorian calendar), so that no
// time-zone state of the C library is involved.
std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  year -= month <= 2 ? 1 : 0;
  std::int64_t const era = (year >= 0 ? year : year - 399) / 400;
  auto const yearOfEra = unsigned(year - era * 400);
  unsigned const dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  unsigned const dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + std::int64_t(dayOfEra) - 719468;
}

}  // namespace

std::string rfc3339(TimeNs time) {
  TimeNs const seconds = time >= 0 ? time / kSecond : (time - kSecond + 1) / kSecond;
  TimeNs const fraction = time - seconds * kSecond;
  std::time_t const whole = seconds;
  std::tm parts{};
  ::gmtime_r(&whole, &parts);
  std::string out =
      fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", parts.tm_year + 1900, parts.tm_mon + 1,
                  parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  if (fraction != 0) {
    out += fmt::format(".{:09}", fraction);
  }
  return out + 'Z';
}

TimeNs parseRfc3339(std::string_view text) {
  auto const refuse = [&] {
    return TimeError(fmt::format(
        "\"{}\" is not an RFC 3339 time such as 2026-11-24T10:00:00Z or 2026-11-24T11:00:00+01:00",
        text));
  };
  std::string const value(text);
  int year = 0;
  unsigned month = 0;
  unsigned day = 0;
  unsigned hour = 0;
  unsigned minute = 0;
  unsigned second = 0;
  char separator = 0;
  int used = 0;
  if (std::sscanf(value.c_str(), "%4d-%2u-%2u%c%2u:%2u:%2u%n", &year, &month, &day, &separator,
                  &hour, &minute, &second, &used) != 7 ||
      used != 19 || (separator != 'T' && separator != 't' && separator != ' ') || month < 1 ||
      month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60) {
    throw refuse();
  }
  std::string_view rest = text.substr(std::size_t(used));
  TimeNs fraction = 0;
  if (!rest.empty() && rest[0] == '.') {
    std::size_t digits = 1;
    TimeNs scale = kSecond;
    while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9') {
      if (digits > 9) {
        throw refuse();
      }
      scale /= 10;
      fraction += (rest[digits] - '0') * scale;
      ++digits;
    }
    if (digits == 1) {
      throw refuse();
    }
    rest.remove_prefix(digits);
  }
  TimeNs offset = 0;
  if (rest == "Z" || rest == "z") {
    rest = {};
  } else if (rest.size() == 6 && (rest[0] == '+' || rest[0] == '-') && rest[3] == ':') {
    unsigned offsetHour = 0;
    unsigned offsetMinute = 0;
    int offsetUsed = 0;
    std::string const zone(rest.substr(1));
    if (std::sscanf(zone.c_str(), "%2u:%2u%n", &offsetHour, &offsetMinute, &offsetUsed) != 2 ||
        offsetUsed != 5 || offsetHour > 23 || offsetMinute > 59) {
      throw refuse();
    }
    offset = (TimeNs(offsetHour) * 3600 + TimeNs(offsetMinute) * 60) * (rest[0] == '+' ? 1 : -1);
    rest = {};
  }
  if (!rest.empty()) {
    throw refuse();
  }
  TimeNs const seconds = daysFromCivil(year, month, day) * 86400 + TimeNs(hour) * 3600 +
                         TimeNs(minute) * 60 + second - offset;
  return seconds * kSecond + fraction;
}

TimeNs Clock::now() {
  if (next_) {
    TimeNs const time = *next_;
    *next_ += kSecond;
    return time;
  }
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace sim
