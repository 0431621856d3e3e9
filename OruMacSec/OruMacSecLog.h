// The module's log catalogue and its log handles.
//
// Seven descriptors, kept together and in this order in a data section of their own
// ("oru_macsec_logcat") from which the platform's tooling reads the catalogue. Each has a handle,
// built when the module loads; only the two hardware-resource messages are raised by index
// management, the others are there for the MACsec agent's other modules.
#pragma once

#include <cstddef>

#include "platform/Vok/Log.h"

namespace OruMacSec {

inline constexpr std::size_t kLogCatalogueSize = 7;
extern Vok::LogDescriptor const kLogCatalogue[kLogCatalogueSize];

// NOLINTBEGIN(readability-identifier-naming): handles carry their catalogue names.
extern Vok::LogHandle MACSEC_TX_PN_REACHED_MAX;
extern Vok::LogHandle MACSEC_FIPS_POST_START;
extern Vok::LogHandle MACSEC_INTERFACE_HW_RESOURCE_NORMAL;
extern Vok::LogHandle MACSEC_INTERFACE_HW_RESOURCE_FULL;
extern Vok::LogHandle MACSEC_SUBINTERFACE_LIMIT_EXCEEDED;
extern Vok::LogHandle MACSEC_UNSUPPORTED_EAPOL_CONFIG;
extern Vok::LogHandle MACSEC_RECEIVED_LATE_PACKETS;
// NOLINTEND(readability-identifier-naming)

}  // namespace OruMacSec
