// The shared state as JSON: the format people read, diff and keep beside a scenario.
//
// One object with the chip policy of each logical FAP, the FAPs with their interface sets, the
// MACsec status, and the published index status with every record, sorted so that equal states
// give equal text. The simulator exports a store to it and imports it into an empty store.
#pragma once

#include <stdexcept>
#include <string>

#include "sim/SimHost.h"

namespace sim {

// A JSON state that cannot be read, with the file and the place that is wrong in the message.
class StateFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The host's shared state as JSON text.
std::string stateText(SimHost const& host);

// Reads the state in `text` (from the file `path`, named in errors) into `host`, whose agent must
// be stopped and whose state must be empty. Throws StateFileError, changing nothing, when the
// text is malformed.
void stateFromText(SimHost& host, std::string const& text, std::string const& path);

// The same for a file ("-" is standard input / output). Throws StateFileError when the file
// cannot be read or written.
void importState(SimHost& host, std::string const& path);
void exportState(SimHost const& host, std::string const& path);

}  // namespace sim
