// The testing kit against chip policies that each break one duty: every one is caught before the
// index manager acts on it, named, and reported with a short history that replays to the same
// failure. One of them, a static variant of the example host's chip, is the report shown in
// docs/testing-kit.md, which must print there as it prints here.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "OruMacSec/testing/PolicyCheck.h"

namespace {

using OruMacSec::testing::checkPolicy;
using OruMacSec::testing::Event;
using OruMacSec::testing::PolicyFactory;

enum class Fault {
  kSubinterfaceSharesItsPortsIndex,
  kEngineBeyondTheCount,
  kDisabledIndexBeyondTheTables,
  kSubinterfaceOnAnotherEngine,
  kEngineMovesAtRestart,
  kFactsChangeAtRestart,
  kStaticIndexOnTheDisabledIndex,
  kPolicyForAnotherFap,
};

// Two engines of 64-entry tables, even ports on engine 0 and odd ports on engine 1, as in
// examples/minimal-host, but static, with one fault. `generation` counts the objects made before
// it, so that a fault can show only in a later one (after a restart).
class FaultyChip : public OruMacSec::IndexHelper {
 public:
  FaultyChip(LogicalFap::LogicalFapId fap, Fault fault, unsigned generation)
      : IndexHelper(
            LogicalFap::LogicalFapId(fault == Fault::kPolicyForAnotherFap ? 9 : fap.value()),
            U16(fault == Fault::kFactsChangeAtRestart ? 64 + generation : 64),
            U16(fault == Fault::kDisabledIndexBeyondTheTables ? 65 : 64)),
        fault_(fault),
        generation_(generation) {}

  U16 numEngineInstances() const override { return 2; }
  U16 intfIdToEngineInstance(Portix::IntfId intf) const override {
    switch (fault_) {
      case Fault::kEngineBeyondTheCount:
        return U16(intf.portNumber() % 3);
      case Fault::kSubinterfaceOnAnotherEngine:
        return U16((intf.portNumber() + intf.subNumber()) % 2);
      case Fault::kEngineMovesAtRestart:
        return U16((intf.portNumber() + generation_) % 2);
      default:
        return U16(intf.portNumber() % 2);
    }
  }
  bool useStaticIndexAllocation() const override { return true; }
  // The port's number divided by the engine count gives each port of an engine its own index; the
  // broken variant forgets the subinterfaces, which get their port's index.
  U16 staticIndex(Portix::IntfId intf) const override {
    U16 const port = U16(intf.portNumber() / 2 * 4);
    if (fault_ == Fault::kSubinterfaceSharesItsPortsIndex) {
      return port;
    }
    return fault_ == Fault::kStaticIndexOnTheDisabledIndex ? 64 : U16(port + intf.subNumber());
  }
  bool esecDisabledIndexPerPortRequired() const override { return false; }

 private:
  Fault const fault_;
  unsigned const generation_;
};

PolicyFactory faulty(Fault fault, unsigned& made) {
  return [fault, &made](LogicalFap::LogicalFapId fap) {
    return Nubis::Ptr<OruMacSec::IndexHelper>(new FaultyChip(fap, fault, made++));
  };
}

TEST(PolicyCheck, NamesEachBrokenDutyWithAShortHistoryThatReplays) {
  struct Case {
    Fault fault;
    char const* duty;
  };
  for (Case const& c : {
           Case{Fault::kSubinterfaceSharesItsPortsIndex, "static indexes unique per engine"},
           Case{Fault::kEngineBeyondTheCount, "an engine instance that exists"},
           Case{Fault::kDisabledIndexBeyondTheTables, "disabled indexes inside the tables"},
           Case{Fault::kSubinterfaceOnAnotherEngine,
                "a port and its subinterfaces share an engine"},
           Case{Fault::kEngineMovesAtRestart,
                "an interface keeps its engine while it holds indexes"},
           Case{Fault::kFactsChangeAtRestart,
                "the chip's facts stay fixed while its status exists"},
           Case{Fault::kStaticIndexOnTheDisabledIndex,
                "static indexes apart from the disabled indexes"},
           Case{Fault::kPolicyForAnotherFap, "a policy describes the FAP it is made for"},
       }) {
    unsigned made = 0;
    auto const report = checkPolicy(faulty(c.fault, made));
    SCOPED_TRACE(report.text());
    EXPECT_TRUE(report.brokenDuty);
    EXPECT_EQ(report.rule, c.duty);
    EXPECT_LE(report.history.size(), 3u);
    auto const again = OruMacSec::testing::replay(faulty(c.fault, made), report.history);
    EXPECT_EQ(again.rule, report.rule);
    EXPECT_EQ(again.history, report.history);
  }
}

TEST(PolicyCheck, ItsReportOfTheBrokenExampleIsTheOneTheDocsShow) {
  unsigned made = 0;
  auto const report = checkPolicy(faulty(Fault::kSubinterfaceSharesItsPortsIndex, made));
  std::ifstream page(DOCS_DIR "/testing-kit.md");
  std::stringstream text;
  text << page.rdbuf();
  EXPECT_NE(text.str().find(report.text()), std::string::npos)
      << "docs/testing-kit.md does not show the report as it prints:\n"
      << report.text();
}

TEST(PolicyCheck, HistoriesAreWrittenAndReadInTheSimulatorsWords) {
  for (char const* line : {"fap add 3 Ethernet1 Ethernet2.7", "fap add 3", "fap del 3",
                           "intf add 1 Ethernet2", "intf del 1 Ethernet2.1",
                           "macsec on Ethernet4.3", "macsec off Ethernet4", "agent restart"}) {
    EXPECT_EQ(Event::parse(line).text(), line);
  }
  for (char const* line :
       {"", "fap add", "fap add 70000", "fap add x Ethernet1", "fap del 1 Ethernet1", "intf add 1",
        "macsec on Ethernet0", "macsec on", "agent stop"}) {
    EXPECT_THROW(Event::parse(line), std::invalid_argument) << line;
  }
  unsigned made = 0;
  EXPECT_THROW(OruMacSec::testing::replay(faulty(Fault::kEngineBeyondTheCount, made),
                                          {"intf add 1 Ethernet1"}),
               std::invalid_argument)
      << "a FAP changed before it is added";
}

}  // namespace
