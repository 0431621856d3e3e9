#include "OruMacSec/OruMacSecLog.h"

namespace OruMacSec {

namespace {

// Marks a descriptor that recommends no action.
constexpr char const kNoAction[] = "\x01";

}  // namespace

// Rate-limit arguments shared by every handle: no interval, so every message is written.
#define ORU_LOG_HANDLE(name, position) \
  Vok::LogHandle name(kLogCatalogue[position], Vok::Seconds(0), 1.0, 0u, 0u)

__attribute__((section("oru_macsec_logcat"), used))
Vok::LogDescriptor const kLogCatalogue[kLogCatalogueSize] = {
    {"MACSEC_TX_PN_REACHED_MAX",
     "MACsec Tx PN on %s has reached its maximum which causes frames to be silently dropped "
     "instead of being transmitted.",
     "MACsec Tx PN upon reaching its maximum value will silently drop frames to be transmitted.",
     "Start a new MACsec session with an XPN cipher or faster rekey period.", 3},
    {"MACSEC_FIPS_POST_START",
     "MACsec FIPS restrictions enabled, starting FIPS POST on: %s, which will cause a traffic "
     "outage.",
     "MACsec FIPS restrictions has been enabled after an Ulvex reload. FIPS POST must run in order "
     "for the linecards to be compliant with the latest FIPS standards. This will cause a traffic "
     "outage.",
     kNoAction, 4},
    {"MACSEC_INTERFACE_HW_RESOURCE_NORMAL",
     "MACsec interface hardware resource utilization has returned to normal on module %d, engine "
     "%d.",
     "Hardware resources have been freed and additional MACsec interfaces can be configured.",
     kNoAction, 6},
    {"MACSEC_INTERFACE_HW_RESOURCE_FULL",
     "Unable to configure MACsec on %s due to insufficient hardware resources on module %d, "
     "engine %d.",
     "The maximum number of MACsec interfaces have been configured.",
     "Reduce the number of configured MACsec interfaces.", 3},
    {"MACSEC_SUBINTERFACE_LIMIT_EXCEEDED",
     "MACsec configuration is ignored on %s because too many subinterfaces are configured with "
     "MACsec.",
     "MACsec subinterfaces limit exceeded on an interface",
     "Remove the MACsec configuration from the subinterface", 3},
    {"MACSEC_UNSUPPORTED_EAPOL_CONFIG", "EAPOL destination not configurable on %s",
     "Configurable EAPOL attributes for MACsec is not supported by the MACsec hardware that has "
     "been configured.",
     "Remove unsupported eapol mac destination configuration for MKA sessions to come up", 3},
    {"MACSEC_RECEIVED_LATE_PACKETS", "Received %u packets late on interface %s with SCI %s AN %d ",
     "Packets arrived with delayed or out of order sequence numbers", kNoAction, 6},
};

ORU_LOG_HANDLE(MACSEC_TX_PN_REACHED_MAX, 0);
ORU_LOG_HANDLE(MACSEC_FIPS_POST_START, 1);
ORU_LOG_HANDLE(MACSEC_INTERFACE_HW_RESOURCE_NORMAL, 2);
ORU_LOG_HANDLE(MACSEC_INTERFACE_HW_RESOURCE_FULL, 3);
ORU_LOG_HANDLE(MACSEC_SUBINTERFACE_LIMIT_EXCEEDED, 4);
ORU_LOG_HANDLE(MACSEC_UNSUPPORTED_EAPOL_CONFIG, 5);
ORU_LOG_HANDLE(MACSEC_RECEIVED_LATE_PACKETS, 6);

#undef ORU_LOG_HANDLE

}  // namespace OruMacSec
