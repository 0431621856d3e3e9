#include "sim/metrics/SessionMetrics.h"

#include "sim/views/Views.h"

namespace sim {

MetricsInput SessionMetrics::input() {
  std::lock_guard<std::mutex> const guard(mutex_);
  auto const lock = session_.lock();
  session_.refresh();
  if (generation_ == session_.generation()) {
    return last_;
  }
  Snapshot const snapshot = session_.snapshot();
  last_.utilization = utilizationView(snapshot, std::nullopt).object["utilization"];
  last_.summary = summaryView(snapshot).object["summary"];
  last_.thresholdEvents = session_.thresholdEventCount();
  last_.committedChanges = session_.committedChangeCount();
  generation_ = session_.generation();
  return last_;
}

}  // namespace sim
