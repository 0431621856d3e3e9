// Leveled text traces.
//
// A component writes all of its traces through one TraceHandle named after it. A handle holds the
// set of enabled levels (0 to 9); a trace whose level is off costs one test and renders nothing.
//
// Observing traces:
// - `Vok::traceLevelsIs("OruMacSecIndexSm", mask)` switches levels of every handle of that name,
//   including handles built later (a host can configure traces before the component loads);
//   `traceLevelBit(level)` builds a mask, `kAllTraceLevels` enables everything.
// - `Vok::traceSinkAdd(sink)` installs a sink that receives every trace written from then on, with
//   handle, level, source file, function, line, class and text; `traceSinkRemove` takes it out.
//   While no sink is installed, written traces go to standard error.
// Everything here runs on the reactor thread; sinks are called synchronously and must not write
// traces themselves.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Vok/Types.h"

namespace Vok {

using TraceLevelMask = std::uint16_t;

inline constexpr U16 kMaxTraceLevel = 9;
inline constexpr TraceLevelMask kAllTraceLevels = (1u << (kMaxTraceLevel + 1)) - 1;

constexpr TraceLevelMask traceLevelBit(U16 level) {
  return level <= kMaxTraceLevel ? TraceLevelMask(1u << level) : TraceLevelMask(0);
}

// One written trace, as sinks receive it. The views are valid only during the sink call.
struct TraceRecord {
  std::string_view handle;
  U16 level;
  char const* file;
  char const* function;
  int line;
  char const* className;
  std::string_view text;
};

class TraceSink {
 public:
  virtual ~TraceSink() = default;
  virtual void traceWritten(TraceRecord const& record) = 0;
};

void traceSinkAdd(TraceSink& sink);
void traceSinkRemove(TraceSink& sink);

// Sets the enabled levels of all handles named `handleName`, now and when built later.
void traceLevelsIs(std::string_view handleName, TraceLevelMask levels);

class TraceHandle {
 public:
  // `allLevelsOn` enables every level unless levels were already configured for `name`
  // through traceLevelsIs, which then win.
  TraceHandle(std::string name, bool allLevelsOn);
  ~TraceHandle();
  TraceHandle(TraceHandle const&) = delete;
  TraceHandle& operator=(TraceHandle const&) = delete;

  std::string const& name() const { return name_; }
  TraceLevelMask levels() const { return levels_; }
  bool enabled(U16 level) const { return (levels_ & traceLevelBit(level)) != 0; }
  void levelsIs(TraceLevelMask levels) { levels_ = levels & kAllTraceLevels; }

  // Hands an already formatted trace to the sinks. Callers test `enabled` first (VOK_TRACE does).
  void write(U16 level, char const* file, char const* function, int line, char const* className,
             std::string_view text) const;

 private:
  std::string name_;
  TraceLevelMask levels_ = 0;
};

}  // namespace Vok

// Writes a trace through `handle` at `level`: the fmt-style format and its arguments (the
// trailing macro arguments) are evaluated and rendered only when the level is enabled.
#define VOK_TRACE(handle, level, file, className, ...)                 \
  do {                                                                 \
    ::Vok::TraceHandle const& vokTraceHandle = (handle);               \
    if (vokTraceHandle.enabled(level)) {                               \
      vokTraceHandle.write(level, file, __func__, __LINE__, className, \
                           ::fmt::format(__VA_ARGS__));                \
    }                                                                  \
  } while (false)
