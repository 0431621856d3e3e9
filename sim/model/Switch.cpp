#include "sim/model/Switch.h"

#include <fmt/format.h>

#include <set>

#include "platform/Vok/Assert.h"

namespace sim {

namespace {

std::string name(Portix::IntfId id) {
  return Portix::valueToStrep(id);
}

}  // namespace

Portix::IntfId portOf(Portix::IntfId intf) {
  return Portix::SubIntfId::isSubIntfId(intf) ? Portix::SubIntfId::parentIntfId(intf) : intf;
}

// The agent's index manager: hands each logical FAP a chip policy made from the switch's
// configuration when the FAP is first served, and the same object for as long as it is served.
class Switch::Agent : public OruMacSec::IndexSm {
 public:
  explicit Agent(Switch const& host)
      : IndexSm(host.faps_, host.status_, host.macsec_), host_(host) {}

  Nubis::Ptr<OruMacSec::IndexHelper> getIndexHelper(LogicalFap::LogicalFapId fapId) override {
    auto& policy = policies_[fapId.value()];
    if (!policy || !indexFapSmHas(fapId)) {
      policy = Nubis::Ptr<OruMacSec::IndexHelper>(new ChipPolicy(fapId, host_.chip(fapId.value())));
    }
    return policy;
  }

 private:
  Switch const& host_;
  std::map<U16, Nubis::Ptr<OruMacSec::IndexHelper>> policies_;
};

Switch::Switch()
    : faps_(new LogicalFap::LogicalFapOrderedCol),
      macsec_(new Macsec::Status),
      status_(new OruMacSec::IndexStatus) {}

// The agent goes first: it holds the shared entities and subscribes to them.
Switch::~Switch() {
  agent_ = nullptr;
}

ChipSettings Switch::chip(U16 fapId) const {
  auto const found = chips_.find(fapId);
  return found == chips_.end() ? ChipSettings() : found->second;
}

OruMacSec::IndexSm const* Switch::agent() const {
  return agent_.get();
}

bool Switch::empty() const {
  return chips_.empty() && faps_->logicalFapSize() == 0 && macsec_->cpStatusSize() == 0 &&
         status_->indexFapStatusSize() == 0;
}

std::optional<U16> Switch::servingFap(Portix::IntfId intf) const {
  Portix::IntfId const port = portOf(intf);
  for (auto fap = faps_->logicalFapIter(); fap; ++fap) {
    if (fap.value()->intfIdHas(port)) {
      return fap.key().value();
    }
  }
  return std::nullopt;
}

std::vector<Portix::IntfId> Switch::servedOnlyThroughPort(
    std::vector<Portix::IntfId> const& interfaces, bool joined) const {
  // A subinterface's records survive a restart only while it is in its FAP's set itself.
  auto const throughPort = [this](Portix::IntfId sub) {
    auto const fapId = servingFap(sub);
    return fapId && !faps_->logicalFap(LogicalFap::LogicalFapId(*fapId))->intfIdHas(sub);
  };
  std::set<Portix::IntfId> found;
  for (Portix::IntfId const intf : interfaces) {
    if (Portix::SubIntfId::isSubIntfId(intf)) {
      if (macsec_->cpStatusHas(intf) && throughPort(intf)) {
        found.insert(intf);
      }
      continue;
    }
    if (!joined) {
      continue;
    }
    // The port's MACsec subinterfaces follow it in interface order.
    auto entry = macsec_->cpStatusIterFrom(intf);
    for (entry&& entry.key() == intf ? ++entry : entry; entry && portOf(entry.key()) == intf;
         ++entry) {
      if (throughPort(entry.key())) {
        found.insert(entry.key());
      }
    }
  }
  return {found.begin(), found.end()};
}

void Switch::chipIs(U16 fapId, ChipSettings const& settings) {
  if (std::string const problem = chipSettingsProblem(settings); !problem.empty()) {
    throw RefusedError(problem);
  }
  LogicalFap::LogicalFapId const id(fapId);
  if ((faps_->logicalFapHas(id) || status_->indexFapStatusHas(id)) && chip(fapId) != settings) {
    throw RefusedError(fmt::format(
        "the chip of logical FAP {} cannot change while the FAP exists or has published status",
        fapId));
  }
  chips_[fapId] = settings;
}

Nubis::Ptr<LogicalFap::IntfIdOrderedCol> Switch::existingFap(U16 fapId) const {
  auto set = faps_->logicalFap(LogicalFap::LogicalFapId(fapId));
  if (!set) {
    throw RefusedError(fmt::format("logical FAP {} does not exist", fapId));
  }
  return set;
}

void Switch::checkSingleFap(U16 fapId, std::vector<Portix::IntfId> const& interfaces) const {
  for (auto fap = faps_->logicalFapIter(); fap; ++fap) {
    U16 const other = fap.key().value();
    if (other == fapId) {
      continue;
    }
    for (Portix::IntfId const intf : interfaces) {
      if (fap.value()->intfIdHas(intf)) {
        throw RefusedError(fmt::format(
            "{} is in the interface set of logical FAP {} already; an interface belongs to one "
            "FAP (intf del {} {} first)",
            name(intf), other, other, name(intf)));
      }
    }
  }
}

void Switch::fapAdd(U16 fapId, std::vector<Portix::IntfId> const& interfaces) {
  if (faps_->logicalFapHas(LogicalFap::LogicalFapId(fapId))) {
    throw RefusedError(fmt::format("logical FAP {} exists already", fapId));
  }
  checkSingleFap(fapId, interfaces);
  auto const set = faps_->logicalFapIs(LogicalFap::LogicalFapId(fapId));
  for (Portix::IntfId const intf : interfaces) {
    set->intfIdIs(intf);
  }
}

void Switch::fapDel(U16 fapId) {
  existingFap(fapId);
  faps_->logicalFapDel(LogicalFap::LogicalFapId(fapId));
}

void Switch::intfAdd(U16 fapId, std::vector<Portix::IntfId> const& interfaces) {
  auto const set = existingFap(fapId);
  checkSingleFap(fapId, interfaces);
  for (Portix::IntfId const intf : interfaces) {
    set->intfIdIs(intf);
  }
}

void Switch::intfDel(U16 fapId, std::vector<Portix::IntfId> const& interfaces) {
  auto const set = existingFap(fapId);
  for (Portix::IntfId const intf : interfaces) {
    set->intfIdDel(intf);
  }
}

void Switch::macsecIs(std::vector<Portix::IntfId> const& interfaces, bool on) {
  for (Portix::IntfId const intf : interfaces) {
    if (on) {
      macsec_->cpStatusIs(intf);
    } else {
      macsec_->cpStatusDel(intf);
    }
  }
}

void Switch::macsecAnnounce(std::vector<Portix::IntfId> const& interfaces) {
  if (!agent_) {
    throw RefusedError("the agent is not running (a starting agent reconciles every interface)");
  }
  for (Portix::IntfId const intf : interfaces) {
    macsec_->publisher()->notify(Macsec::Status::kCpStatusAttr, Nubis::Key::of(intf));
  }
}

void Switch::agentStart() {
  if (agent_) {
    throw RefusedError("the agent is already running");
  }
  agent_ = Nubis::Ptr<Agent>(new Agent(*this));
  agent_->hasNotificationActiveIs(true);
  agent_->handleInitialized();
}

void Switch::agentStop() {
  if (!agent_) {
    throw RefusedError("the agent is not running");
  }
  agent_ = nullptr;
}

void Switch::publishedFapAdd(U16 fapId, U16 engines, U16 esecDisabled, U16 isecDisabled) {
  VOK_ASSERT(!agent_, "sim/Switch");
  LogicalFap::LogicalFapId const id(fapId);
  if (status_->indexFapStatusHas(id)) {
    throw RefusedError(fmt::format("logical FAP {} has published status already", fapId));
  }
  status_->indexFapStatusIs(id, engines, esecDisabled, isecDisabled);
}

Nubis::Ptr<OruMacSec::IndexFapStatus> Switch::loadedStatus(U16 fapId) const {
  VOK_ASSERT(!agent_, "sim/Switch");
  auto status = status_->indexFapStatus(LogicalFap::LogicalFapId(fapId));
  if (!status) {
    throw RefusedError(fmt::format("logical FAP {} has no published status", fapId));
  }
  return status;
}

void Switch::egressRecordAdd(U16 fapId, OruMacSec::EsecIndexInfo const& record) {
  auto const status = loadedStatus(fapId);
  if (status->esecIndexInfoHas(record.secIntfId())) {
    throw RefusedError(
        fmt::format("{} has an egress record already", name(record.secIntfId().intfId())));
  }
  status->esecIndexInfoIs(record);
}

void Switch::ingressRecordAdd(U16 fapId, OruMacSec::IsecIndexInfo const& record) {
  auto const status = loadedStatus(fapId);
  if (status->isecIndexInfoHas(record.secIntfId())) {
    throw RefusedError(
        fmt::format("{} has an ingress record already", name(record.secIntfId().intfId())));
  }
  status->isecIndexInfoIs(record);
}

void Switch::disabledRecordAdd(U16 fapId, OruMacSec::EsecIndexInfo const& record) {
  auto const status = loadedStatus(fapId);
  if (status->esecLoopbackDisabledIndexInfoHas(record.secIntfId())) {
    throw RefusedError(fmt::format("port {} has an egress disabled entry already",
                                   name(record.secIntfId().intfId())));
  }
  status->esecLoopbackDisabledIndexInfoIs(record);
}

}  // namespace sim
