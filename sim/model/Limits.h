// The limits of the simulated chips, in one place: the command language, the JSON importer, the
// store's loader and its schema all check against these.
#pragma once

#include <cstdint>

#include "OruMacSec/types/TableIndex.h"

namespace sim {

// Every interface of a FAP is served by one of its engines, so a chip has at least one.
inline constexpr std::uint16_t kMinEngines = 1;
inline constexpr std::uint16_t kMaxEngines = 1024;
// The ingress disabled index is also the largest index of every table, so it is itself an index.
inline constexpr std::uint16_t kMaxIsecDisabled = OruMacSec::TableIndex::max().value();
// Logical FAP numbers, published engine counts, disabled indexes and published indexes are U16.
inline constexpr std::uint16_t kMaxU16 = 0xffff;

}  // namespace sim
