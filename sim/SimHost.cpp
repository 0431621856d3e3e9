#include "sim/SimHost.h"

#include <fmt/format.h>

#include <set>

#include "sim/Standing.h"
#include "sim/Views.h"

namespace sim {

// The agent's index manager: hands each logical FAP a chip policy made from the host's
// configuration when the FAP is first served, and the same object for as long as it is served.
class SimHost::Agent : public OruMacSec::IndexSm {
 public:
  Agent(SimHost const& host) : IndexSm(host.faps_, host.status_, host.macsec_), host_(host) {}

  Nubis::Ptr<OruMacSec::IndexHelper> getIndexHelper(LogicalFap::LogicalFapId fapId) override {
    auto& policy = policies_[fapId.value()];
    if (!policy || !indexFapSmHas(fapId)) {
      policy = Nubis::Ptr<OruMacSec::IndexHelper>(new ChipPolicy(fapId, host_.chip(fapId.value())));
    }
    return policy;
  }

 private:
  SimHost const& host_;
  std::map<U16, Nubis::Ptr<OruMacSec::IndexHelper>> policies_;
};

SimHost::SimHost(std::ostream& out, Transcript::Format format)
    : transcript_(out, format),
      faps_(new LogicalFap::LogicalFapOrderedCol),
      macsec_(new Macsec::Status),
      status_(new OruMacSec::IndexStatus) {}

SimHost::~SimHost() = default;

ChipSettings SimHost::chip(U16 fapId) const {
  auto const found = chips_.find(fapId);
  return found == chips_.end() ? ChipSettings() : found->second;
}

OruMacSec::IndexSm const* SimHost::agent() const {
  return agent_.get();
}

void SimHost::agentStart() {
  if (agent_) {
    throw ScenarioError("the agent is already running");
  }
  agent_ = Nubis::Ptr<Agent>(new Agent(*this));
  agent_->hasNotificationActiveIs(true);
  agent_->handleInitialized();
}

void SimHost::agentStop() {
  if (!agent_) {
    throw ScenarioError("the agent is not running");
  }
  agent_ = nullptr;
}

Nubis::Ptr<LogicalFap::IntfIdOrderedCol> SimHost::existingFap(U16 fapId) const {
  auto set = faps_->logicalFap(LogicalFap::LogicalFapId(fapId));
  if (!set) {
    throw ScenarioError(fmt::format("logical FAP {} does not exist", fapId));
  }
  return set;
}

void SimHost::checkSingleFap(U16 fapId, std::vector<Portix::IntfId> const& interfaces) const {
  for (auto fap = faps_->logicalFapIter(); fap; ++fap) {
    if (fap.key().value() == fapId) {
      continue;
    }
    for (Portix::IntfId const intf : interfaces) {
      if (fap.value()->intfIdHas(intf)) {
        throw ScenarioError(fmt::format(
            "{} is in the interface set of logical FAP {} already; an interface belongs to one "
            "FAP (intf del {} {} first)",
            Portix::valueToStrep(intf), fap.key().value(), fap.key().value(),
            Portix::valueToStrep(intf)));
      }
    }
  }
}

void SimHost::warnPortServed(std::vector<Portix::IntfId> const& interfaces, bool joined) {
  // A subinterface's records survive a restart only while it is in its FAP's set itself.
  auto const portServed = [this](Portix::IntfId sub) {
    auto const fapId = servingFap(*this, sub);
    return fapId && !faps_->logicalFap(LogicalFap::LogicalFapId(*fapId))->intfIdHas(sub);
  };
  std::set<Portix::IntfId> found;
  for (Portix::IntfId const intf : interfaces) {
    if (Portix::SubIntfId::isSubIntfId(intf)) {
      if (macsec_->cpStatusHas(intf) && portServed(intf)) {
        found.insert(intf);
      }
      continue;
    }
    if (!joined) {
      continue;
    }
    auto entry = macsec_->cpStatusIterFrom(intf);
    for (entry&& entry.key() == intf ? ++entry : entry;
         entry && Portix::SubIntfId::parentIntfId(entry.key()) == intf; ++entry) {
      if (portServed(entry.key())) {
        found.insert(entry.key());
      }
    }
  }
  if (found.empty()) {
    return;
  }
  Portix::IntfId const first = *found.begin();
  if (found.size() == 1) {
    transcript_.warning(fmt::format(
        "{} runs MACsec while only its port {} is in the interface set of logical FAP {}: its "
        "indexes will not survive an agent restart (add {} to the set to keep them)",
        Portix::valueToStrep(first), Portix::valueToStrep(Portix::SubIntfId::parentIntfId(first)),
        *servingFap(*this, first), Portix::valueToStrep(first)));
    return;
  }
  transcript_.warning(fmt::format(
      "{} subinterfaces ({} first) run MACsec while only their ports are in a logical FAP's "
      "interface set: their indexes will not survive an agent restart (add them to the set to "
      "keep them)",
      found.size(), Portix::valueToStrep(first)));
}

void SimHost::retry(std::vector<Portix::IntfId> const& interfaces) {
  if (!agent_) {
    throw ScenarioError("the agent is not running (a starting agent reconciles every interface)");
  }
  std::vector<Portix::IntfId> chosen = interfaces;
  if (chosen.empty()) {
    for (Standing const& refused : refusedInterfaces(*this, std::nullopt)) {
      chosen.push_back(refused.intf);
    }
  }
  // As the MACsec agent announces an entry it rewrites unchanged: the index manager reconciles
  // the interface.
  for (Portix::IntfId const intf : chosen) {
    macsec_->publisher()->notify(Macsec::Status::kCpStatusAttr, Nubis::Key::of(intf));
  }
}

bool SimHost::changesState(Command const& command) {
  return std::holds_alternative<ChipCommand>(command) ||
         std::holds_alternative<FapAddCommand>(command) ||
         std::holds_alternative<FapDelCommand>(command) ||
         std::holds_alternative<IntfCommand>(command) ||
         std::holds_alternative<MacsecCommand>(command) ||
         std::holds_alternative<RetryCommand>(command) ||
         std::holds_alternative<AgentCommand>(command);
}

void SimHost::run(Command const& command) {
  ++commands_;
  try {
    apply(command);
  } catch (...) {
    transcript_.commandEnd();
    throw;
  }
  transcript_.commandEnd();
  monitor_.check(agent_.get(), commands_, transcript_);
}

void SimHost::apply(Command const& command) {
  std::visit(
      [this](auto const& c) {
        using C = std::decay_t<decltype(c)>;
        if constexpr (std::is_same_v<C, ChipCommand>) {
          // A chip's facts are constructor values of the FAP's published status and decide where
          // its indexes are booked: they may not change under a FAP that exists or has status.
          LogicalFap::LogicalFapId const id(c.fapId);
          if ((faps_->logicalFapHas(id) || status_->indexFapStatusHas(id)) &&
              !(chip(c.fapId) == c.settings)) {
            throw ScenarioError(fmt::format(
                "the chip of logical FAP {} cannot change while the FAP exists or has published "
                "status",
                c.fapId));
          }
          chips_[c.fapId] = c.settings;
        } else if constexpr (std::is_same_v<C, FapAddCommand>) {
          LogicalFap::LogicalFapId const id(c.fapId);
          if (faps_->logicalFapHas(id)) {
            throw ScenarioError(fmt::format("logical FAP {} exists already", c.fapId));
          }
          checkSingleFap(c.fapId, c.interfaces);
          auto const set = faps_->logicalFapIs(id);
          for (Portix::IntfId const intf : c.interfaces) {
            set->intfIdIs(intf);
          }
          warnPortServed(c.interfaces, true);
        } else if constexpr (std::is_same_v<C, FapDelCommand>) {
          existingFap(c.fapId);
          faps_->logicalFapDel(LogicalFap::LogicalFapId(c.fapId));
        } else if constexpr (std::is_same_v<C, IntfCommand>) {
          auto const set = existingFap(c.fapId);
          if (c.add) {
            checkSingleFap(c.fapId, c.interfaces);
          }
          for (Portix::IntfId const intf : c.interfaces) {
            if (c.add) {
              set->intfIdIs(intf);
            } else {
              set->intfIdDel(intf);
            }
          }
          if (c.add) {
            warnPortServed(c.interfaces, true);
          }
        } else if constexpr (std::is_same_v<C, MacsecCommand>) {
          for (Portix::IntfId const intf : c.interfaces) {
            if (c.on) {
              macsec_->cpStatusIs(intf);
            } else {
              macsec_->cpStatusDel(intf);
            }
          }
          if (c.on) {
            warnPortServed(c.interfaces, false);
          }
        } else if constexpr (std::is_same_v<C, RetryCommand>) {
          retry(c.interfaces);
        } else if constexpr (std::is_same_v<C, ShowCommand>) {
          View const view = c.what == ShowCommand::kUtilization ? utilizationView(*this, c.fapId)
                            : c.what == ShowCommand::kInterface ? interfaceView(*this, c.interfaces)
                                                                : statusView(*this, c.fapId);
          transcript_.view(view.object, view.text, c.json);
        } else if constexpr (std::is_same_v<C, ThresholdCommand>) {
          monitor_.thresholdsIs(c.fapId, c.upper, c.clear);
        } else if constexpr (std::is_same_v<C, LogsCommand>) {
          transcript_.logLimitIs(c.limit);
        } else if constexpr (std::is_same_v<C, TraceCommand>) {
          Vok::traceLevelsIs(OruMacSec::kTraceHandleName, c.levels);
        } else if constexpr (std::is_same_v<C, AgentCommand>) {
          if (c.action != AgentCommand::kStart) {
            agentStop();
          }
          if (c.action != AgentCommand::kStop) {
            agentStart();
          }
        } else if constexpr (std::is_same_v<C, HelpCommand>) {
          View const view = helpView(c.topic);
          transcript_.view(view.object, view.text, false);
        }
      },
      command);
}

}  // namespace sim
