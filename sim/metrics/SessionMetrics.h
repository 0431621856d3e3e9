// Where the metrics come from: a session's own state (a writer, or a session without a store), or
// the state database that a read-only session looks at, read afresh at each scrape so that a reader
// follows the writer.
#pragma once

#include <string>

#include "sim/metrics/Metrics.h"
#include "sim/session/Session.h"

namespace sim {

// The metrics input of `session` as it stands between two of its commands (read under its lock).
MetricsInput metricsInput(Session const& session);

// The metrics input of the state database `statePath` as it stands now, read by a read-only
// session opened for this call. `reader`, the process's own session, runs no line meanwhile.
// Throws StoreError when the database cannot be read.
MetricsInput storeMetricsInput(Session const& reader, std::string const& statePath);

}  // namespace sim
