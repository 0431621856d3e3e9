// The shared state as JSON: the format people read, diff and keep beside a scenario.
//
// One object with the chip policy of each logical FAP, the FAPs with their interface sets, the
// MACsec status, and the published index status with every record, sorted so that equal states
// give equal text. The simulator exports a store to it and imports it into an empty store.
#pragma once

#include <stdexcept>
#include <string>

#include "sim/model/Switch.h"

namespace sim {

// A JSON state that cannot be read, with the file and the place that is wrong in the message.
class StateFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The switch's shared state as JSON text.
std::string stateText(Switch const& host);

// Reads the state in `text` (from the file `path`, named in errors) into `host`, whose agent must
// be stopped and whose state must be empty, through the switch's own checks. Throws
// StateFileError naming the place (a JSON path such as "faps[2].interfaces[0]") when the text is
// not JSON, has a key twice in one object, lists one key twice (a chip, a FAP, an interface of a
// set, a MACsec interface, a published FAP or a record), or holds what the switch refuses; `host`
// is then left with part of the state (discard it).
void stateFromText(Switch& host, std::string const& text, std::string const& path);

// The same for a file ("-" is standard input / output). Throws StateFileError when the file
// cannot be read or written.
void importState(Switch& host, std::string const& path);
void exportState(Switch const& host, std::string const& path);

}  // namespace sim
