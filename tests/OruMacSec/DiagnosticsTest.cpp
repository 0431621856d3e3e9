// The module's diagnostics: the log catalogue as operators' tooling reads it, the handles built at
// load, the quiet trace handle, and the assertion text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "OruMacSec/OruMacSecLog.h"
#include "OruMacSec/OruMacSecTrace.h"
#include "platform/Vok/RingTrace.h"
#include "support/Capture.h"
#include "support/IndexHost.h"

// Bounds of the catalogue's own data section, provided by the linker.
extern "C" Vok::LogDescriptor const
    __start_oru_macsec_logcat[];  // NOLINT(bugprone-reserved-identifier)
extern "C" Vok::LogDescriptor const
    __stop_oru_macsec_logcat[];  // NOLINT(bugprone-reserved-identifier)

namespace {

using testsupport::Capture;

struct Entry {
  char const* name;
  char const* format;
  std::int64_t severity;
  bool recommendsAction;
};

// The catalogue as operators' tooling reads it; formats are compared byte for byte, trailing
// blank included.
std::vector<Entry> const kExpected = {
    {"MACSEC_TX_PN_REACHED_MAX",
     "MACsec Tx PN on %s has reached its maximum which causes frames to be silently dropped "
     "instead of being transmitted.",
     3, true},
    {"MACSEC_FIPS_POST_START",
     "MACsec FIPS restrictions enabled, starting FIPS POST on: %s, which will cause a traffic "
     "outage.",
     4, false},
    {"MACSEC_INTERFACE_HW_RESOURCE_NORMAL",
     "MACsec interface hardware resource utilization has returned to normal on module %d, engine "
     "%d.",
     6, false},
    {"MACSEC_INTERFACE_HW_RESOURCE_FULL",
     "Unable to configure MACsec on %s due to insufficient hardware resources on module %d, "
     "engine %d.",
     3, true},
    {"MACSEC_SUBINTERFACE_LIMIT_EXCEEDED",
     "MACsec configuration is ignored on %s because too many subinterfaces are configured with "
     "MACsec.",
     3, true},
    {"MACSEC_UNSUPPORTED_EAPOL_CONFIG", "EAPOL destination not configurable on %s", 3, true},
    {"MACSEC_RECEIVED_LATE_PACKETS", "Received %u packets late on interface %s with SCI %s AN %d ",
     6, false},
};

TEST(LogCatalogue, HoldsTheSevenDescriptorsInOrderInItsOwnSection) {
  ASSERT_EQ(OruMacSec::kLogCatalogueSize, kExpected.size());
  ASSERT_EQ(__stop_oru_macsec_logcat - __start_oru_macsec_logcat, std::ptrdiff_t(kExpected.size()))
      << "the section holds the catalogue and nothing else";
  EXPECT_EQ(__start_oru_macsec_logcat, OruMacSec::kLogCatalogue);
  for (std::size_t i = 0; i < kExpected.size(); ++i) {
    auto const& actual = OruMacSec::kLogCatalogue[i];
    auto const& expected = kExpected[i];
    SCOPED_TRACE(expected.name);
    EXPECT_STREQ(actual.name, expected.name);
    EXPECT_STREQ(actual.format, expected.format);
    EXPECT_GT(std::strlen(actual.explanation), 20u);
    // A descriptor without a recommended action carries the marker "\x01".
    EXPECT_EQ(std::string(actual.recommendedAction) != "\x01", expected.recommendsAction);
    EXPECT_EQ(actual.severity, expected.severity);
  }
}

TEST(LogCatalogue, EveryDescriptorHasAHandleThatLetsEveryMessageThrough) {
  Vok::LogHandle* const handles[] = {&OruMacSec::MACSEC_TX_PN_REACHED_MAX,
                                     &OruMacSec::MACSEC_FIPS_POST_START,
                                     &OruMacSec::MACSEC_INTERFACE_HW_RESOURCE_NORMAL,
                                     &OruMacSec::MACSEC_INTERFACE_HW_RESOURCE_FULL,
                                     &OruMacSec::MACSEC_SUBINTERFACE_LIMIT_EXCEEDED,
                                     &OruMacSec::MACSEC_UNSUPPORTED_EAPOL_CONFIG,
                                     &OruMacSec::MACSEC_RECEIVED_LATE_PACKETS};
  for (std::size_t i = 0; i < kExpected.size(); ++i) {
    EXPECT_EQ(&handles[i]->descriptor(), &OruMacSec::kLogCatalogue[i]);
  }
  Capture capture;
  // The same event, back to back: no rate limit holds the repeats back.
  for (int i = 0; i < 3; ++i) {
    Vok::logMessage(OruMacSec::MACSEC_INTERFACE_HW_RESOURCE_FULL, testsupport::intf("Ethernet7.2"),
                    testsupport::fap(2), U16(1));
  }
  Vok::logMessage(OruMacSec::MACSEC_RECEIVED_LATE_PACKETS, 12u, testsupport::intf("Ethernet7"),
                  "00:1c:73:00:00:01", 3);
  ASSERT_EQ(capture.logs.size(), 4u);
  EXPECT_EQ(capture.logs[0],
            "Unable to configure MACsec on Ethernet7.2 due to insufficient hardware resources on "
            "module 2, engine 1.");
  EXPECT_EQ(capture.logs[3],
            "Received 12 packets late on interface Ethernet7 with SCI 00:1c:73:00:00:01 AN 3 ");
}

TEST(TraceHandle, IsNamedForTheModuleAndWritesHardwareFullToTheRingWhateverTheLevels) {
  EXPECT_EQ(&OruMacSec::traceHandle(), &OruMacSec::traceHandle());
  EXPECT_EQ(OruMacSec::traceHandle().name(), "OruMacSecIndexSm");
  Vok::RingTrace ring(4);
  Vok::RingTrace* const previousRing = Vok::defaultRingTrace();
  Vok::defaultRingTraceIs(&ring);
  Capture quiet;  // the sinks are in place, every level off
  OruMacSec::traceHardwareFull(OruMacSec::EngineTable::kEsecSc, testsupport::fap(3), 2, "fn", 1);
  Vok::defaultRingTraceIs(previousRing);
  EXPECT_TRUE(quiet.traces.empty());
  EXPECT_EQ(ring.messages(), std::vector<std::string>{"ESEC_SC_TABLE hardware resources are full "
                                                      "on LogicalFapId 3, EngineInstance 2"});
}

}  // namespace
