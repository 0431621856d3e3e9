#include "sim/metrics/SessionMetrics.h"

#include <sys/stat.h>

#include <utility>

#include "sim/views/Views.h"

namespace sim {

namespace {

MetricsInput snapshotInput(Snapshot const& snapshot) {
  MetricsInput out;
  out.utilization = utilizationView(snapshot, std::nullopt).object["utilization"];
  out.summary = summaryView(snapshot).object["summary"];
  return out;
}

bool exists(std::string const& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

}  // namespace

MetricsInput metricsInput(Session const& session) {
  auto const lock = session.lock();
  MetricsInput out = snapshotInput(session.snapshot());
  out.thresholdEvents = session.thresholdEventCount();
  out.committedChanges = session.committedChangeCount();
  return out;
}

StoreMetrics::StoreMetrics(Session const& reader, std::string statePath)
    : reader_(reader), statePath_(std::move(statePath)) {}

MetricsInput StoreMetrics::input() {
  std::lock_guard<std::mutex> const guard(mutex_);
  // A reader opened while no writer had the database open reads the file as it was; once a
  // writer has opened it, a new connection reads through the writer's WAL.
  if (!store_ || (!store_->seesCommits() && exists(statePath_ + "-wal"))) {
    store_ = std::make_unique<Store>(statePath_, Store::Access::kReadOnly);
    loadedVersion_.reset();
  }
  std::int64_t const version = store_->dataVersion();
  if (loadedVersion_ == version) {
    return loaded_;
  }
  {
    // The platform's log and trace sinks are the process's, set by the reader's session: a switch
    // is made, loaded and dropped only between two of its lines.
    auto const lock = reader_.lock();
    Switch host;
    ResourceMonitor monitor;
    store_->load(host, monitor);
    loaded_ = snapshotInput({host, monitor});
  }
  Store::Counts const counts = store_->counts();
  loaded_.thresholdEvents = counts.thresholdEvents;
  loaded_.committedChanges = counts.changes;
  loadedVersion_ = version;
  return loaded_;
}

}  // namespace sim
