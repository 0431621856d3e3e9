// Records what the index manager writes to its trace and log while a test runs.
//
// A Capture switches the given levels of the "OruMacSecIndexSm" trace on, installs itself as trace
// and log sink, and undoes both when it goes, so tests do not depend on each other's settings.
#pragma once

#include <string>
#include <vector>

#include "OruMacSec/OruMacSecTrace.h"
#include "platform/Vok/Log.h"
#include "platform/Vok/Trace.h"

namespace testsupport {

class Capture : public Vok::TraceSink, public Vok::LogSink {
 public:
  explicit Capture(Vok::TraceLevelMask levels = 0) {
    Vok::traceLevelsIs(OruMacSec::kTraceHandleName, levels);
    Vok::traceSinkAdd(*this);
    Vok::logSinkAdd(*this);
  }
  ~Capture() override {
    Vok::logSinkRemove(*this);
    Vok::traceSinkRemove(*this);
    Vok::traceLevelsIs(OruMacSec::kTraceHandleName, 0);
  }
  Capture(Capture const&) = delete;
  Capture& operator=(Capture const&) = delete;

  void traceWritten(Vok::TraceRecord const& record) override {
    traces.emplace_back(record.level, std::string(record.text));
  }
  void logWritten(Vok::LogRecord const& record) override { logs.emplace_back(record.text); }

  // The texts of the traces written at `level`, in order.
  std::vector<std::string> texts(U16 level) const {
    std::vector<std::string> out;
    for (auto const& [traceLevel, text] : traces) {
      if (traceLevel == level) {
        out.push_back(text);
      }
    }
    return out;
  }
  void clear() {
    traces.clear();
    logs.clear();
  }

  std::vector<std::pair<U16, std::string>> traces;  // level, text
  std::vector<std::string> logs;                    // texts
};

}  // namespace testsupport
