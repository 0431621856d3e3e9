// Long random event sequences against a full host, checking after every event that no index an
// interface uses is lost, that no table entry is handed to two users, and that restarting the
// agent changes nothing that carrying on would not.
//
// The host has three logical FAPs with different chips and small tables, so that tables run full:
// FAP 1 dynamic with a shared egress disabled index on two engines, FAP 2 dynamic with per-port
// egress disabled entries, FAP 3 static. FAPs 1 and 2 serve ports 1 to 4 and their subinterfaces
// 1 to 3; FAP 3 serves ports 5 to 7 only. (A running static FAP reconciles a subinterface without
// MACsec only on that subinterface's own changes, while a start reconciles every member; the
// static-chip scenario shows that difference. Keeping static subinterfaces out lets every invariant
// below hold without exceptions.)
//
// The default run is short enough for every CI run. For a long soak, raise the number of cases
// through rapidcheck's environment variable, e.g. RC_PARAMS="max_success=20000".
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <rapidcheck/state.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>

#include "support/IndexHost.h"
#include "support/Invariants.h"
#include "support/StatusDump.h"

namespace {

using OruMacSec::IndexFapStatus;
using OruMacSec::SecIntfId;
using testsupport::chip;
using testsupport::fap;
using testsupport::IndexHost;
using testsupport::intf;

constexpr U16 kSharedFap = 1;
constexpr U16 kPerPortFap = 2;
constexpr U16 kStaticFap = 3;

std::vector<std::string> const kDynamicInterfaces = {
    "Ethernet1",   "Ethernet1.1", "Ethernet1.2", "Ethernet1.3", "Ethernet2",   "Ethernet2.1",
    "Ethernet2.2", "Ethernet2.3", "Ethernet3",   "Ethernet3.1", "Ethernet3.2", "Ethernet3.3",
    "Ethernet4",   "Ethernet4.1", "Ethernet4.2", "Ethernet4.3"};
std::vector<std::string> const kStaticPorts = {"Ethernet5", "Ethernet6", "Ethernet7"};

std::vector<std::string> const& universeOf(U16 fapId) {
  return fapId == kStaticFap ? kStaticPorts : kDynamicInterfaces;
}

void configure(IndexHost& host) {
  host.configs[kSharedFap] = chip(2, 6, 6);
  host.configs[kPerPortFap] = chip(1, 6, 6, /*perPortDisabled=*/true);
  host.configs[kStaticFap] = chip(1, 20, 20, false, /*staticAllocation=*/true);
}

std::string portOf(std::string const& name) {
  return name.substr(0, name.find('.'));
}
bool isSub(std::string const& name) {
  return name.find('.') != std::string::npos;
}

// The inputs, as other agents set them.
struct Model {
  std::map<U16, std::set<std::string>> sets;
  std::set<std::string> macsec;
};

// The host under test; its twin `steady`, which gets the same events but restarts only when a
// restart may change something; and what they have told the operator: interfaces whose last
// allocation, with inputs unchanged since, was refused for a full table.
class Sut : public Vok::LogSink {
 public:
  Sut() {
    for (IndexHost* each : {&host, &steady}) {
      configure(*each);
      each->start();
    }
    Vok::logSinkAdd(*this);
  }
  ~Sut() override { Vok::logSinkRemove(*this); }

  void logWritten(Vok::LogRecord const& record) override {
    if (record.name != "MACSEC_INTERFACE_HW_RESOURCE_FULL") {
      return;
    }
    std::string const text(record.text);
    char name[64];
    unsigned fap = 0;
    // Throwing here would unwind through the component, so a malformed text is reported later.
    if (std::sscanf(text.c_str(),
                    "Unable to configure MACsec on %63s due to insufficient hardware resources on "
                    "module %u, engine",
                    name, &fap) != 2) {
      malformedLog = text;
      return;
    }
    refused.insert({U16(fap), name});
  }

  // Applies an input change to both hosts.
  template <typename Change>
  void change(Change const& apply) {
    apply(host);
    apply(steady);
  }
  void checkInvariants(Model const& model);
  void restart(Model const& model);

  IndexHost host;
  IndexHost steady;
  std::set<std::pair<U16, std::string>> refused;
  std::string malformedLog;
};

// --- Invariants ------------------------------------------------------------------------------

bool holdsRecords(IndexFapStatus const& status, std::string const& name) {
  return status.esecIndexInfoHas(SecIntfId(intf(name)));
}

// Beyond the invariants every agent keeps (see support/Invariants.h): a static FAP's ports hold
// records exactly while they are members; an eligible interface without records was refused for
// a full table; a disabled entry serves a subinterface that holds indexes or was refused.
void Sut::checkInvariants(Model const& model) {
  RC_ASSERT(malformedLog.empty());
  auto const problems = testsupport::checkAgent(*host.sm);
  RC_ASSERT(problems == std::vector<std::string>());
  RC_ASSERT(testsupport::publishedDump(*host.status) == testsupport::publishedDump(*steady.status));
  RC_ASSERT(testsupport::bookingDump(*host.sm) == testsupport::bookingDump(*steady.sm));
  for (auto const& entry : model.sets) {
    // Named copies, not structured bindings: lambdas may capture these (C++17).
    auto const fapId = entry.first;
    auto const& members = entry.second;
    auto const status = host.fapStatus(fapId);
    RC_ASSERT(status);
    auto const eligible = [&](std::string const& name) {
      return members.count(portOf(name)) != 0 && model.macsec.count(name) != 0;
    };
    // Forget refusals that no longer stand: the interface got its indexes or its inputs changed.
    for (auto it = refused.begin(); it != refused.end();) {
      bool const stale =
          it->first == fapId && (holdsRecords(*status, it->second) || !eligible(it->second));
      it = stale ? refused.erase(it) : std::next(it);
    }
    for (auto const& name : universeOf(fapId)) {
      bool const holds = holdsRecords(*status, name);
      bool const expected = fapId == kStaticFap
                                ? holds == (members.count(name) != 0)
                                : holds || !eligible(name) || refused.count({fapId, name}) != 0;
      RC_ASSERT(expected);
    }
    for (auto record = status->esecLoopbackDisabledIndexInfoIter(); record; ++record) {
      auto const port = Portix::valueToStrep(record.key().intfId());
      RC_ASSERT(std::any_of(kDynamicInterfaces.begin(), kDynamicInterfaces.end(), [&](auto& s) {
        return isSub(s) && portOf(s) == port &&
               (holdsRecords(*status, s) || refused.count({fapId, s}) != 0);
      }));
    }
  }
}

// Restarting changes nothing that carrying on would not: when no allocation is pending after a
// refusal and every subinterface that runs MACsec is a member of the sets its port is in, the
// restarted agent publishes and books what the steady one does, now and after every later event.
// Otherwise (a refusal retried, a subinterface's records dropped) both restart, to stay comparable.
void Sut::restart(Model const& model) {
  bool const unchanged =
      refused.empty() && std::all_of(model.sets.begin(), model.sets.end(), [&](auto const& entry) {
        auto const& members = entry.second;
        return std::all_of(model.macsec.begin(), model.macsec.end(), [&](auto const& name) {
          return !isSub(name) || members.count(portOf(name)) == 0 || members.count(name) != 0;
        });
      });
  host.stop();
  host.start();
  if (!unchanged) {
    steady.stop();
    steady.start();
  }
}

// --- Commands --------------------------------------------------------------------------------

using Command = rc::state::Command<Model, Sut>;

// Runs the event on the host, then checks the invariants against the inputs after the event.
struct Event : Command {
  void run(Model const& model, Sut& sut) const final {
    Model after = model;
    apply(after);
    act(after, sut);
    sut.checkInvariants(after);
  }
  virtual void act(Model const& after, Sut& sut) const = 0;
};

void include(std::set<std::string>& set, std::string const& name, bool in) {
  in ? void(set.insert(name)) : void(set.erase(name));
}

// A FAP added (arriving with its interfaces, as a FAP whose set was filled before it was
// announced) or removed.
struct FapChange : Event {
  U16 fapId = *rc::gen::inRange<U16>(1, 4);
  bool add = *rc::gen::arbitrary<bool>();
  std::vector<std::string> members =
      *rc::gen::unique<std::vector<std::string>>(rc::gen::elementOf(universeOf(fapId)));
  void checkPreconditions(Model const& model) const override {
    RC_PRE(model.sets.count(fapId) == (add ? 0u : 1u));
  }
  void apply(Model& model) const override {
    add ? void(model.sets[fapId].insert(members.begin(), members.end()))
        : void(model.sets.erase(fapId));
  }
  void act(Model const&, Sut& sut) const override {
    sut.change([&](IndexHost& host) {
      add ? void(host.addFap(fapId, members)) : void(host.faps->logicalFapDel(fap(fapId)));
    });
  }
  void show(std::ostream& os) const override {
    os << "fap " << (add ? "add " : "del ") << fapId;
    for (auto const& name : add ? members : std::vector<std::string>()) {
      os << " " << name;
    }
  }
};

struct IntfChange : Event {
  U16 fapId = *rc::gen::inRange<U16>(1, 4);
  std::string name = *rc::gen::elementOf(universeOf(fapId));
  bool add = *rc::gen::arbitrary<bool>();
  void checkPreconditions(Model const& model) const override {
    RC_PRE(model.sets.count(fapId) != 0);
  }
  void apply(Model& model) const override { include(model.sets[fapId], name, add); }
  void act(Model const&, Sut& sut) const override {
    sut.change(
        [&](IndexHost& host) { add ? host.addIntf(fapId, name) : host.delIntf(fapId, name); });
  }
  void show(std::ostream& os) const override {
    os << "intf " << (add ? "add " : "del ") << fapId << " " << name;
  }
};

struct MacsecChange : Event {
  std::string name = *rc::gen::elementOf(kDynamicInterfaces);
  bool on = *rc::gen::arbitrary<bool>();
  void apply(Model& model) const override { include(model.macsec, name, on); }
  void act(Model const&, Sut& sut) const override {
    sut.change([&](IndexHost& host) { on ? host.macsecOn(name) : host.macsecOff(name); });
  }
  void show(std::ostream& os) const override { os << "macsec " << (on ? "on " : "off ") << name; }
};

struct AgentRestart : Event {
  void apply(Model&) const override {}
  void act(Model const& after, Sut& sut) const override { sut.restart(after); }
  void show(std::ostream& os) const override { os << "agent restart"; }
};

RC_GTEST_PROP(IndexManagerModel, NothingInUseIsLostNothingIsHandedOutTwiceRestartsChangeNothing,
              ()) {
  auto const baseline = Nubis::Node::liveCount();
  {
    Model const initial;
    Sut sut;
    rc::state::check(initial, sut,
                     rc::state::gen::execOneOfWithArgs<FapChange, FapChange, IntfChange, IntfChange,
                                                       MacsecChange, MacsecChange, MacsecChange,
                                                       AgentRestart>());
  }
  RC_ASSERT(Nubis::Node::liveCount() == baseline);
}

}  // namespace
