// The simulated shared state kept in a file between runs of the simulator, so that two runs over
// one file behave as one switch whose agent restarted in between.
//
// The file is JSON: the chip policy of each logical FAP, the FAPs with their interface sets, the
// MACsec status, and the published index status with every record. Writes are atomic: the new
// content goes to a temporary file beside it, which is flushed to disk and renamed over the old
// one, so a crash leaves either the old or the new file, never a mix or a truncated one.
#pragma once

#include <stdexcept>
#include <string>

#include "sim/SimHost.h"

namespace sim {

// A state file that cannot be read, with the file and the place that is wrong in the message.
class StateFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Loads the shared state from `path` into `host`, whose agent must not be running and whose state
// must be empty. Returns false, changing nothing, when the file does not exist. Throws
// StateFileError when it cannot be read or is malformed; the file is left as it is.
bool loadState(SimHost& host, std::string const& path);

// Replaces the file at `path` with the host's shared state, atomically. Throws StateFileError when
// the file cannot be written.
void saveState(SimHost const& host, std::string const& path);

// The state as the file holds it, and back; for tests and tools.
std::string stateText(SimHost const& host);
void stateFromText(SimHost& host, std::string const& text, std::string const& path);

}  // namespace sim
