// Where the simulator's transcript goes: the component's log messages and traces are written to
// the same stream as the commands' own output, in the order they happen.
//
//   log <NAME>: <text>
//   trace <level> <Class>::<function>: <text>      (the text exactly as the component wrote it;
//                                                  an entry trace without text ends at the name)
#pragma once

#include <ostream>

#include "platform/Vok/Log.h"
#include "platform/Vok/Trace.h"

namespace sim {

// Installs itself as the process's trace and log sink for as long as it lives.
class TranscriptSinks : public Vok::TraceSink, public Vok::LogSink {
 public:
  explicit TranscriptSinks(std::ostream& out);
  ~TranscriptSinks() override;
  TranscriptSinks(TranscriptSinks const&) = delete;
  TranscriptSinks& operator=(TranscriptSinks const&) = delete;

  void traceWritten(Vok::TraceRecord const& record) override;
  void logWritten(Vok::LogRecord const& record) override;

 private:
  std::ostream& out_;
};

}  // namespace sim
