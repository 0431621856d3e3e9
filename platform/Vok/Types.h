// Basic value types shared by the host platform and the components it loads.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// Engine instances, table sizes and table indexes are 16-bit unsigned values throughout the
// platform; hosts write `U16` unqualified in their chip layers.
using U16 = std::uint16_t;

namespace Vok {

using String = std::string;

// A duration in whole seconds, as rate limits are configured.
using Seconds = std::chrono::seconds;

}  // namespace Vok
