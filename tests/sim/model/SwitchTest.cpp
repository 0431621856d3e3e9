#include <gmock/gmock.h>

#include <functional>
#include <sstream>

#include "sim/model/Switch.h"

namespace {

using Portix::IntfId;

// The switch's whole state as text, to tell whether a refused change left it as it was.
std::string dump(sim::Switch const& host) {
  std::ostringstream out;
  for (auto const& [fap, chip] : host.chips()) {
    out << "chip " << fap << ' ' << chip.engines << ' ' << chip.isecDisabled << '\n';
  }
  for (auto fap = host.faps().logicalFapIter(); fap; ++fap) {
    out << "fap " << fap.key().value() << ':';
    for (auto member = fap.value()->intfIdIter(); member; ++member) {
      out << ' ' << *member;
    }
    out << '\n';
  }
  for (auto entry = host.macsec().cpStatusIter(); entry; ++entry) {
    out << "macsec " << entry.key() << '\n';
  }
  for (auto fap = host.status().indexFapStatusIter(); fap; ++fap) {
    out << "status " << fap.key().value() << ' ' << fap.value()->esecIndexInfoSize() << '\n';
  }
  out << "agent " << (host.agent() != nullptr) << '\n';
  return out.str();
}

TEST(Switch, AChangeThatCannotApplyIsRefusedAndChangesNothing) {
  sim::Switch host;
  auto const refused = [&](std::string const& expected, std::function<void()> const& change) {
    std::string const before = dump(host);
    EXPECT_THAT(change,
                ::testing::ThrowsMessage<sim::RefusedError>(::testing::StartsWith(expected)));
    EXPECT_EQ(dump(host), before) << expected;
  };
  sim::ChipSettings chip;
  chip.engines = 2;
  chip.isecDisabled = 10;
  host.agentStart();
  host.chipIs(1, chip);
  host.fapAdd(1, {IntfId("Ethernet1")});
  refused("Ethernet1 is in the interface set of logical FAP 1 already", [&] {
    host.fapAdd(2, {IntfId("Ethernet2"), IntfId("Ethernet1")});
  });
  refused("logical FAP 2 does not exist", [&] { host.intfAdd(2, {IntfId("Ethernet1")}); });
  refused("logical FAP 2 does not exist", [&] { host.fapDel(2); });
  refused("logical FAP 1 exists already", [&] { host.fapAdd(1, {}); });
  refused("the agent is already running", [&] { host.agentStart(); });
  refused("the chip of logical FAP 1 cannot change", [&] { host.chipIs(1, {}); });
  sim::ChipSettings tooMany = chip;
  tooMany.engines = 1025;
  refused("engines must be a number from 1 to 1024, not 1025", [&] { host.chipIs(5, tooMany); });
  host.chipIs(1, chip);  // the same chip is harmless
  host.agentStop();
  host.fapDel(1);
  // FAP 1 keeps its status until an agent starts, and with it its chip.
  refused("the chip of logical FAP 1 cannot change", [&] { host.chipIs(1, {}); });
  refused("the agent is not running", [&] { host.agentStop(); });
  refused("the agent is not running", [&] { host.macsecAnnounce({IntfId("Ethernet1")}); });
  refused("logical FAP 3 has no published status", [&] {
    host.egressRecordAdd(3, {OruMacSec::SecIntfId(IntfId("Ethernet1")), {}, 0});
  });
  host.egressRecordAdd(1, {OruMacSec::SecIntfId(IntfId("Ethernet1")), OruMacSec::TableIndex(1), 0});
  refused("Ethernet1 has an egress record already", [&] {
    host.egressRecordAdd(1, {OruMacSec::SecIntfId(IntfId("Ethernet1")), {}, 0});
  });
  host.agentStart();
  chip.engines = 3;
  host.chipIs(1, chip);
  host.fapAdd(1, {IntfId("Ethernet1")});
  EXPECT_EQ(host.status().indexFapStatus(LogicalFap::LogicalFapId(1))->numEngineInstances(), 3);
}

}  // namespace
