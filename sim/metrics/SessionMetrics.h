// Where the metrics come from: a session's own state (a writer, or a session without a store), or
// the state database that a read-only session looks at, read again when a writer has committed
// since the last scrape, so that a reader follows the writer.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "sim/metrics/Metrics.h"
#include "sim/session/Session.h"
#include "sim/store/Store.h"

namespace sim {

// The metrics input of `session` as it stands between two of its commands (read under its lock).
MetricsInput metricsInput(Session const& session);

// The metrics of a state database as it stands at each scrape. The state is loaded again only when
// a writer committed since the last call (SQLite's data_version), so that a scrape of a database
// that did not change costs one query.
class StoreMetrics {
 public:
  // `reader` is the process's own read-only session of `statePath`: no line of it runs while the
  // state loads.
  StoreMetrics(Session const& reader, std::string statePath);

  // The metrics input of the database now. Safe to call from several threads at once. Throws
  // StoreError when the database cannot be read.
  MetricsInput input();

 private:
  Session const& reader_;
  std::string const statePath_;
  std::mutex mutex_;
  std::unique_ptr<Store> store_;
  std::optional<std::int64_t> loadedVersion_;
  MetricsInput loaded_;
};

}  // namespace sim
