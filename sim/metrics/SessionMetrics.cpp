#include "sim/metrics/SessionMetrics.h"

#include <optional>
#include <ostream>

#include "sim/views/Views.h"

namespace sim {

MetricsInput metricsInput(Session const& session) {
  auto const lock = session.lock();
  Snapshot const snapshot = session.snapshot();
  return {utilizationView(snapshot, std::nullopt).object["utilization"],
          statusView(snapshot, std::nullopt).object["status"], session.thresholdEventCount(),
          session.committedChangeCount()};
}

MetricsInput storeMetricsInput(Session const& reader, std::string const& statePath) {
  // Sessions share the process's log and trace sinks: one opens only while no line runs.
  auto const lock = reader.lock();
  SessionOptions options;
  options.statePath = statePath;
  options.readOnly = true;
  options.startAgent = false;
  std::ostream discard(nullptr);  // its transcript and warnings: the reader's own showed them
  Session const fresh(options, discard, discard);
  return metricsInput(fresh);
}

}  // namespace sim
