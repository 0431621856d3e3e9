// The simulator's clock: the time that threshold events, high-watermarks and the change feed
// carry, as nanoseconds since the Unix epoch, and its written forms.
//
// A running simulator reads the system clock. A pinned clock (the --clock option or the
// MACSEC_INDEX_SIM_CLOCK environment variable) starts at a given time and moves on by exactly one
// second at each reading, so that transcripts and feeds stay the same from run to run.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sim {

// Nanoseconds since 1970-01-01T00:00:00Z.
using TimeNs = std::int64_t;

// A time that cannot be read; the message says what was expected.
class TimeError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// `time` in RFC 3339, in UTC: "2026-11-24T10:00:00Z", with nine digits of fraction when the time
// is not a whole second ("2026-11-24T10:00:00.250000000Z").
std::string rfc3339(TimeNs time);

// Reads an RFC 3339 time: a date, "T" (or "t" or a blank), a time with an optional fraction of
// up to nine digits, and "Z" or a numeric offset ("+02:00"). Throws TimeError otherwise.
TimeNs parseRfc3339(std::string_view text);

class Clock {
 public:
  // The system clock, or a clock pinned to start at `pinned`.
  explicit Clock(std::optional<TimeNs> pinned = std::nullopt) : next_(pinned) {}

  // The time now. A pinned clock gives its start at the first reading and one second more at
  // each reading after it.
  TimeNs now();

 private:
  std::optional<TimeNs> next_;
};

}  // namespace sim
