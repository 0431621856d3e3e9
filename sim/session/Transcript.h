// The simulator's transcript: what each command caused, in the order it happened, on one stream.
//
// Text (the default), one line each:
//   > <command>                                     the command echoed
//   log <NAME>: <text>                               a log message of the index manager
//   logs: <n> more <NAME> messages not shown (...)   the rest of a flood, at the end of a command
//   trace <level> <Class>::<function>: <text>        a trace (the text exactly as written; an
//                                                    entry trace without text ends at the name)
//   warning: <text>                                  the host's warning about a command
//   THRESHOLD_EXCEEDED: ... / THRESHOLD_CLEAR: ...   the host's resource events
//   and the tables of show and help.
// JSON (--json): one JSON object per line for each of these ("command", "comment", "log",
// "logs-not-shown", "trace", "warning", "event", or a view's own object), so that the output is
// a stream of JSON values that jq and other JSON Lines readers take as it is.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/Vok/Log.h"
#include "platform/Vok/Trace.h"
#include "sim/views/View.h"

namespace sim {

class Transcript {
 public:
  enum class Format { kText, kJson };
  // How many log messages of one kind a command prints before it counts the rest.
  static constexpr std::size_t kDefaultLogLimit = 5;

  explicit Transcript(std::ostream& out, Format format = Format::kText);
  Transcript(Transcript const&) = delete;
  Transcript& operator=(Transcript const&) = delete;

  Format format() const { return format_; }
  std::ostream& stream() const { return out_; }

  void command(std::string_view line);
  void comment(std::string_view line);
  void trace(Vok::TraceRecord const& record);
  // Prints the message unless `logLimit` messages of its kind were printed since the command
  // began; those are counted and reported by commandEnd().
  void log(std::string_view name, std::string_view text);
  void warning(std::string_view text);
  // A view (show, help, a resource event): its text form, or its JSON object when `json` or in
  // JSON format.
  void view(View const& view, bool json = false);

  // Ends a command, or the start-up: one line per kind of log message with the count not shown.
  void commandEnd();
  void logLimitIs(std::size_t limit) { logLimit_ = limit; }

 private:
  void line(nlohmann::json const& object);

  std::ostream& out_;
  Format const format_;
  std::size_t logLimit_ = kDefaultLogLimit;
  std::map<std::string, std::size_t, std::less<>> logCounts_;  // this command's, by name
};

// Installs itself as the process's trace and log sink for as long as it lives, writing both to
// `transcript`.
class TranscriptSinks : public Vok::TraceSink, public Vok::LogSink {
 public:
  explicit TranscriptSinks(Transcript& transcript);
  ~TranscriptSinks() override;
  TranscriptSinks(TranscriptSinks const&) = delete;
  TranscriptSinks& operator=(TranscriptSinks const&) = delete;

  void traceWritten(Vok::TraceRecord const& record) override { transcript_.trace(record); }
  void logWritten(Vok::LogRecord const& record) override {
    transcript_.log(record.name, record.text);
  }

 private:
  Transcript& transcript_;
};

}  // namespace sim
