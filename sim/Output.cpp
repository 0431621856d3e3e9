#include "sim/Output.h"

namespace sim {

TranscriptSinks::TranscriptSinks(std::ostream& out) : out_(out) {
  Vok::traceSinkAdd(*this);
  Vok::logSinkAdd(*this);
}

TranscriptSinks::~TranscriptSinks() {
  Vok::logSinkRemove(*this);
  Vok::traceSinkRemove(*this);
}

void TranscriptSinks::traceWritten(Vok::TraceRecord const& record) {
  out_ << "trace " << record.level << ' ' << record.className << "::" << record.function;
  // An entry trace without text says only where it was.
  if (!record.text.empty()) {
    out_ << ": " << record.text;
  }
  out_ << '\n';
}

void TranscriptSinks::logWritten(Vok::LogRecord const& record) {
  out_ << "log " << record.name << ": " << record.text << '\n';
}

}  // namespace sim
