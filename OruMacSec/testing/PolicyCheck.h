// A randomized check of a chip policy against the index manager, for the tests of a chip layer or
// of a host, with any test framework.
//
// It runs random histories of a switch (logical FAPs added and removed, interface sets and MACsec
// status changing, agent restarts) on a Host whose agent takes its policies from the author's
// factory. Before each event it checks the policy's answers for the inputs the event leaves (the
// duties of Duties.h), so that a broken duty is named instead of tripping the manager; after each
// event it checks the manager's invariants (Invariants.h and the comparisons of Snapshot.h): the
// lowest free entry first on dynamic chips, what qualifies holds indexes unless a table is full,
// and a restart keeps the indexes in use and changes nothing that carrying on would not (a twin
// switch gets the same events without the restart). A failing history is shrunk to a short one
// that still fails the same way, and reported as lines that replay() runs again.
//
// Everything is seeded: the same options give the same histories and the same report.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "OruMacSec/testing/Host.h"

namespace OruMacSec::testing {

// One event of a history.
struct Event {
  enum class Kind : std::uint8_t {
    kFapAdd,     // the FAP joins the collection, then its members join its set one by one
    kFapDel,     // the FAP leaves the collection
    kIntfAdd,    // the interface joins the FAP's set
    kIntfDel,    // the interface leaves the FAP's set
    kMacsecOn,   // the interface gets a MACsec status entry
    kMacsecOff,  // its MACsec status entry goes
    kAgentRestart
  };
  Kind kind = Kind::kAgentRestart;
  LogicalFap::LogicalFapId fap;
  // The members of a FAP added; the one interface of the interface and MACsec events.
  std::vector<Portix::IntfId> interfaces;

  // The event as a line of a history, in the simulator's words: "fap add 1 Ethernet1 Ethernet1.1",
  // "fap del 1", "intf add 1 Ethernet2", "intf del 1 Ethernet2", "macsec on Ethernet2.1",
  // "macsec off Ethernet2.1", "agent restart".
  std::string text() const;
  // Reads a line that text() writes; throws std::invalid_argument naming the line otherwise.
  static Event parse(std::string_view line);
};

// Ethernet1 to Ethernet4, each followed by its subinterfaces 1 to 3.
std::vector<Portix::IntfId> defaultInterfaces();

struct CheckOptions {
  // The logical FAPs that histories add and remove.
  std::vector<U16> faps = {1, 2};
  // The interfaces that histories put into the FAPs' sets and switch MACsec on and off for.
  std::vector<Portix::IntfId> interfaces = defaultInterfaces();
  // How many histories, and how many events each.
  unsigned histories = 100;
  unsigned events = 50;
  std::uint64_t seed = 1;
};

// What a check found.
struct Report {
  // What broke: a duty of the policy or an invariant of the index manager, which one, and how.
  // All empty when every history passed.
  bool brokenDuty = false;
  std::string rule;
  std::string detail;
  // The shortest failing history found, one event per line, and the length of the history it was
  // shrunk from.
  std::vector<std::string> history;
  std::size_t unshrunkLength = 0;
  // How many histories ran, the failing one included, of how many events each, from which seed.
  unsigned historiesRun = 0;
  unsigned events = 0;
  std::uint64_t seed = 0;

  bool passed() const { return rule.empty(); }
  // The report as printed lines: the verdict, what broke and the history, ready for a test log.
  std::string text() const;
};

// Runs the histories with the policies `factory` makes, one per FAP each time the FAP is served
// anew; stops at the first failure. Throws std::invalid_argument when the options name no FAP or
// no interface.
Report checkPolicy(PolicyFactory const& factory, CheckOptions const& options = {});
// The same with one policy object, for its own FAP only (options.faps is replaced by that FAP).
Report checkPolicy(Nubis::Ptr<IndexHelper> const& policy, CheckOptions options = {});
// Runs one history, as a report gives it, with every check. Throws std::invalid_argument when a
// line is not an event or the event cannot happen at that point (a FAP added twice, or changed
// while absent).
Report replay(PolicyFactory const& factory, std::vector<std::string> const& history);

}  // namespace OruMacSec::testing
