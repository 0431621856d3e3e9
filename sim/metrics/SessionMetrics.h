// Where the metrics come from: a session, between two of its commands. A writer's (or a session
// without a store) serves its own state; a reader's loads the state database again when a writer
// has committed since the scrape before, so that a reader follows the writer.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

#include "sim/metrics/Metrics.h"
#include "sim/session/Session.h"

namespace sim {

class SessionMetrics {
 public:
  // `session` must outlive this object.
  explicit SessionMetrics(Session& session) : session_(session) {}

  // The metrics input of the session now, worked out again only when what it shows may have
  // changed (Session::generation). Safe to call from several threads at once, and while the
  // session runs lines on its own thread. Throws StoreError when a reader's database cannot be
  // read.
  MetricsInput input();

 private:
  Session& session_;
  std::mutex mutex_;
  std::optional<std::uint64_t> generation_;  // of the session when `last_` was worked out
  MetricsInput last_;
};

}  // namespace sim
