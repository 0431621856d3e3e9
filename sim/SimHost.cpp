#include "sim/SimHost.h"

#include <fmt/format.h>

#include "sim/StatusTable.h"

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

SimHost::SimHost(std::ostream& out)
    : out_(out),
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

bool SimHost::changesState(Command const& command) {
  return !std::holds_alternative<ShowCommand>(command) &&
         !std::holds_alternative<TraceCommand>(command);
}

void SimHost::run(Command const& command) {
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
          auto const set = faps_->logicalFapIs(id);
          for (Portix::IntfId const intf : c.interfaces) {
            set->intfIdIs(intf);
          }
        } else if constexpr (std::is_same_v<C, FapDelCommand>) {
          existingFap(c.fapId);
          faps_->logicalFapDel(LogicalFap::LogicalFapId(c.fapId));
        } else if constexpr (std::is_same_v<C, IntfCommand>) {
          auto const set = existingFap(c.fapId);
          for (Portix::IntfId const intf : c.interfaces) {
            if (c.add) {
              set->intfIdIs(intf);
            } else {
              set->intfIdDel(intf);
            }
          }
        } else if constexpr (std::is_same_v<C, MacsecCommand>) {
          for (Portix::IntfId const intf : c.interfaces) {
            if (c.on) {
              macsec_->cpStatusIs(intf);
            } else {
              macsec_->cpStatusDel(intf);
            }
          }
        } else if constexpr (std::is_same_v<C, ShowCommand>) {
          printStatus(out_, *status_, agent_.get(), c.fapId);
        } else if constexpr (std::is_same_v<C, TraceCommand>) {
          Vok::traceLevelsIs(OruMacSec::kTraceHandleName, c.levels);
        } else if constexpr (std::is_same_v<C, AgentCommand>) {
          if (c.action != AgentCommand::kStart) {
            agentStop();
          }
          if (c.action != AgentCommand::kStop) {
            agentStart();
          }
        }
      },
      command);
}

}  // namespace sim
