#include "platform/Vok/Trace.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

namespace Vok {

namespace {

struct TraceRegistry {
  std::map<std::string, TraceLevelMask, std::less<>> configured;
  std::vector<TraceHandle*> handles;
  std::vector<TraceSink*> sinks;
};

// Function-local so that handles built during static initialisation find it ready.
TraceRegistry& registry() {
  static TraceRegistry instance;
  return instance;
}

}  // namespace

void traceSinkAdd(TraceSink& sink) {
  registry().sinks.push_back(&sink);
}

void traceSinkRemove(TraceSink& sink) {
  auto& sinks = registry().sinks;
  sinks.erase(std::remove(sinks.begin(), sinks.end(), &sink), sinks.end());
}

void traceLevelsIs(std::string_view handleName, TraceLevelMask levels) {
  auto& reg = registry();
  reg.configured.insert_or_assign(std::string(handleName), levels);
  for (TraceHandle* handle : reg.handles) {
    if (handle->name() == handleName) {
      handle->levelsIs(levels);
    }
  }
}

TraceHandle::TraceHandle(std::string name, bool allLevelsOn) : name_(std::move(name)) {
  auto& reg = registry();
  auto const configured = reg.configured.find(name_);
  levels_ =
      configured != reg.configured.end() ? configured->second : (allLevelsOn ? kAllTraceLevels : 0);
  reg.handles.push_back(this);
}

TraceHandle::~TraceHandle() {
  auto& handles = registry().handles;
  handles.erase(std::remove(handles.begin(), handles.end(), this), handles.end());
}

void TraceHandle::write(U16 level, char const* file, char const* function, int line,
                        char const* className, std::string_view text) const {
  TraceRecord const record{name_, level, file, function, line, className, text};
  auto const& sinks = registry().sinks;
  if (sinks.empty()) {
    std::fprintf(stderr, "trace %s/%u %s:%d %s::%s %.*s\n", name_.c_str(), unsigned(level), file,
                 line, className, function, int(text.size()), text.data());
    return;
  }
  for (TraceSink* sink : sinks) {
    sink->traceWritten(record);
  }
}

}  // namespace Vok
