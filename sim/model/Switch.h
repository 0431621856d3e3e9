// The simulated switch: its shared state and the forwarding agent that runs the index manager
// over it.
//
// The shared state is the chip policy configured per logical FAP, the logical FAPs with their
// interface sets, the MACsec status, and the published index status. Everything outside reads it
// through the const accessors and changes it only through the checked mutators below, whatever
// the change comes from (a command, a state database, a JSON file): a change that cannot apply is
// refused with a RefusedError that says why, and changes nothing.
//
// The agent (an IndexSm derivation with the simulator's chip policies) runs over the shared state
// while started; stopping it destroys it and leaves every piece of shared state as it is, and the
// inputs may change meanwhile, as other agents would change them. The published status is written
// by the agent alone, except by a loader while the agent is stopped.
#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "sim/model/ChipPolicy.h"

namespace sim {

// The port of an interface; a port is its own.
Portix::IntfId portOf(Portix::IntfId intf);

// A change the switch refuses; nothing was changed.
class RefusedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Switch {
 public:
  // No chips configured, no FAPs, no MACsec, nothing published, the agent stopped.
  Switch();
  ~Switch();
  Switch(Switch const&) = delete;
  Switch& operator=(Switch const&) = delete;

  // --- The state, read only ---

  // The chips configured, by FAP; a FAP not listed gets the default ChipSettings.
  std::map<U16, ChipSettings> const& chips() const { return chips_; }
  ChipSettings chip(U16 fapId) const;
  LogicalFap::LogicalFapOrderedCol const& faps() const { return *faps_; }
  Macsec::Status const& macsec() const { return *macsec_; }
  OruMacSec::IndexStatus const& status() const { return *status_; }
  // The running agent, or null.
  OruMacSec::IndexSm const* agent() const;
  // Whether nothing at all is configured, present or published.
  bool empty() const;
  // The FAP whose interface set holds the port of `intf` (a port is its own port): the FAP whose
  // index manager serves it.
  std::optional<U16> servingFap(Portix::IntfId intf) const;
  // The subinterfaces among `interfaces` that run MACsec while only their port's membership of a
  // FAP's set serves them (so their indexes do not survive an agent restart), and, when the
  // interfaces have just `joined` a set, such subinterfaces of the ports among them; in order.
  std::vector<Portix::IntfId> servedOnlyThroughPort(std::vector<Portix::IntfId> const& interfaces,
                                                    bool joined) const;

  // --- Changes; each throws RefusedError and changes nothing when it cannot apply ---

  // Configures a FAP's chip. Refused when the settings are beyond the chips' limits, or differ
  // from the FAP's current chip while the FAP exists or has published status (its chip facts are
  // constructor values of that status).
  void chipIs(U16 fapId, ChipSettings const& settings);
  // Adds a FAP (announced first), then each interface joins its set. Refused when the FAP exists
  // or an interface is in another FAP's set.
  void fapAdd(U16 fapId, std::vector<Portix::IntfId> const& interfaces);
  // Removes a FAP with its set. Refused when it does not exist.
  void fapDel(U16 fapId);
  // Changes a FAP's set. Refused when the FAP does not exist or (adding) an interface is in
  // another FAP's set.
  void intfAdd(U16 fapId, std::vector<Portix::IntfId> const& interfaces);
  void intfDel(U16 fapId, std::vector<Portix::IntfId> const& interfaces);
  // Switches MACsec on or off on the interfaces.
  void macsecIs(std::vector<Portix::IntfId> const& interfaces, bool on);
  // Announces the interfaces' MACsec status to the agent again, unchanged, as the MACsec agent
  // does when it rewrites an entry: the index manager reconciles each of them. Refused while no
  // agent runs.
  void macsecAnnounce(std::vector<Portix::IntfId> const& interfaces);
  // Starts a new agent over the shared state (refused when one runs), or stops it (refused when
  // none runs).
  void agentStart();
  void agentStop();

  // --- Published status from a loader; the agent must be stopped ---

  // Adds a FAP's published status. Refused when the FAP has one already.
  void publishedFapAdd(U16 fapId, U16 engines, U16 esecDisabled, U16 isecDisabled);
  // Adds a record to a FAP's published status. Refused when the FAP has no published status or
  // the record's interface has one of that kind already.
  void egressRecordAdd(U16 fapId, OruMacSec::EsecIndexInfo const& record);
  void ingressRecordAdd(U16 fapId, OruMacSec::IsecIndexInfo const& record);
  void disabledRecordAdd(U16 fapId, OruMacSec::EsecIndexInfo const& record);

 private:
  class Agent;

  Nubis::Ptr<LogicalFap::IntfIdOrderedCol> existingFap(U16 fapId) const;
  void checkSingleFap(U16 fapId, std::vector<Portix::IntfId> const& interfaces) const;
  // The published status of `fapId`, for a loader to add a record to; refused when it has none.
  Nubis::Ptr<OruMacSec::IndexFapStatus> loadedStatus(U16 fapId) const;

  std::map<U16, ChipSettings> chips_;
  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> faps_;
  Nubis::Ptr<Macsec::Status> macsec_;
  Nubis::Ptr<OruMacSec::IndexStatus> status_;
  Nubis::Ptr<Agent> agent_;
};

}  // namespace sim
