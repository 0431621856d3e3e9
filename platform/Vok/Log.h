// Operator-visible log messages, described by a catalogue and written through rate-limited
// handles.
//
// A component defines one LogDescriptor per message (name, printf-style format, explanation,
// recommended action, syslog severity) and builds one LogHandle per descriptor when it loads.
// `Vok::logMessage(handle, args...)` renders only the arguments that identify the event for rate
// limiting, asks the handle whether the event may be logged, and renders the rest only then.
//
// Observing logs: `Vok::logSinkAdd(sink)` installs a sink that receives every message that passes
// its rate limit (name, severity, rendered text); `logSinkRemove` takes it out. While no sink is
// installed, messages go to standard error. `Vok::logClockIs` replaces the clock that rate limits
// read (tests drive it by hand). Everything here runs on the reactor thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/Vok/Types.h"
#include "platform/Vok/ValueToString.h"

namespace Vok {

// A catalogue entry; static data of the component that defines it.
struct LogDescriptor {
  char const* name;
  char const* format;
  char const* explanation;
  // One byte 0x01 where the catalogue gives no action.
  char const* recommendedAction;
  std::int64_t severity;  // syslog numbering: 3 error, 4 warning, 6 informational
};

// The arguments of one message, rendered to text by position, with the hash of the arguments that
// identify the event and the number of arguments.
class LogString {
 public:
  explicit LogString(std::size_t argCount) : args_(argCount) {}

  void argIs(std::size_t position, std::string text) { args_[position] = std::move(text); }
  std::string const& arg(std::size_t position) const { return args_[position]; }
  std::vector<std::string> const& args() const { return args_; }

  std::size_t argsHash() const { return argsHash_; }
  void argsHashIs(std::size_t hash) { argsHash_ = hash; }
  std::size_t argCount() const { return argCount_; }
  void argCountIs(std::size_t count) { argCount_ = count; }

 private:
  std::vector<std::string> args_;
  std::size_t argsHash_ = 0;
  std::size_t argCount_ = 0;
};

// Hash of the first `count` argument texts of `logString`.
std::size_t logArgsHash(LogString const& logString, std::size_t count);

struct LogRecord {
  std::string_view name;
  std::int64_t severity;
  std::string_view text;
};

class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void logWritten(LogRecord const& record) = 0;
};

void logSinkAdd(LogSink& sink);
void logSinkRemove(LogSink& sink);

// Replaces the clock that rate limits read (seconds on any fixed origin); an empty function
// restores the steady clock.
void logClockIs(std::function<double()> now);

class LogHandle {
 public:
  // Rate limiting: each event (the first `rateLimitArgs` arguments; 0 makes all messages of the
  // handle one event) may be written `burst` times per `interval`, refilled evenly over the
  // interval. An interval of 0 lets every message through. At most `maxEvents` events are
  // remembered (0: no limit); when more arrive, the memory is started afresh.
  LogHandle(LogDescriptor const& descriptor, Seconds interval, double burst, unsigned rateLimitArgs,
            unsigned maxEvents);
  LogHandle(LogHandle const&) = delete;
  LogHandle& operator=(LogHandle const&) = delete;

  LogDescriptor const& descriptor() const { return descriptor_; }

  // The number of leading arguments that identify an event for rate limiting.
  unsigned rateLimitArgsMask() const { return rateLimitArgs_; }

  // A hash of the handle's identity, combined with the argument hash to name an event.
  std::size_t idHash() const { return idHash_; }

  // Whether the event named by `hash` may be written now; counts it when it may.
  bool okToLog(std::size_t hash);

  // Renders the descriptor's format with the arguments and hands it to the sinks.
  void log(LogString const& logString) const;

 private:
  struct Bucket {
    double tokens;
    double lastRefill;
  };
  LogDescriptor const& descriptor_;
  double interval_;
  double burst_;
  unsigned rateLimitArgs_;
  unsigned maxEvents_;
  std::size_t idHash_;
  std::unordered_map<std::size_t, Bucket> buckets_;
};

// Writes one message through `handle`. Arguments are turned into text with valueToString: those
// that identify the event first, the others only if the rate limit lets the message through.
template <class... Args>
void logMessage(LogHandle& handle, Args const&... args) {
  constexpr std::size_t count = sizeof...(Args);
  std::size_t const identifying = std::min<std::size_t>(handle.rateLimitArgsMask(), count);
  LogString logString(count);
  auto renderPass = [&](bool identifyingPass) {
    std::size_t position = 0;
    auto render = [&](auto const& arg) {
      if ((position < identifying) == identifyingPass) {
        logString.argIs(position, valueToString(arg));
      }
      ++position;
    };
    (render(args), ...);
  };
  renderPass(true);
  std::size_t const argsHash = logArgsHash(logString, identifying);
  if (!handle.okToLog(argsHash ^ handle.idHash())) {
    return;
  }
  renderPass(false);
  logString.argsHashIs(argsHash);
  logString.argCountIs(count);
  handle.log(logString);
}

}  // namespace Vok
