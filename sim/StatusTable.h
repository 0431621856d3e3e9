// The `show` command's view of the published index status: per logical FAP a header (engine count,
// disabled indexes, each engine's full flag while the agent runs), one row per interface in
// interface order, then the ports' egress disabled entries. Columns are aligned and rows sorted,
// so that the same status always prints the same way.
#pragma once

#include <optional>
#include <ostream>

#include "OruMacSec/OruMacSecIndexSm.h"

namespace sim {

// Prints FAP `fapId`, or every published FAP in ascending order. `agent` may be null (stopped).
void printStatus(std::ostream& out, OruMacSec::IndexStatus const& status,
                 OruMacSec::IndexSm const* agent, std::optional<U16> fapId);

}  // namespace sim
