// The simulated switch and the forwarding agent that runs the index manager on it.
//
// The host holds all shared state: the chip policy configured per logical FAP, the logical FAPs
// with their interface sets, the MACsec status, and the published index status. The agent (an
// IndexSm derivation) runs over that state while started; stopping it destroys it and leaves
// every piece of shared state as it is, and input commands keep changing the inputs meanwhile,
// as other agents would. After every command the host reads the agent's tables (watermarks and
// thresholds, see Utilization.h) and ends the command's transcript.
#pragma once

#include <map>
#include <optional>
#include <ostream>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "sim/ChipPolicy.h"
#include "sim/Output.h"
#include "sim/Scenario.h"
#include "sim/Utilization.h"

namespace sim {

class SimHost {
 public:
  // The transcript (command output, warnings, events) goes to `out` in `format`.
  explicit SimHost(std::ostream& out, Transcript::Format format = Transcript::Format::kText);
  ~SimHost();
  SimHost(SimHost const&) = delete;
  SimHost& operator=(SimHost const&) = delete;

  // Carries out one command. A command that cannot apply (a FAP that does not exist, starting a
  // running agent, changing the chip of a FAP that exists or still has published status, an
  // interface already in another FAP's set, ...) throws ScenarioError and changes nothing.
  // Commands are numbered from 1 in the order they are given, refused ones included.
  void run(Command const& command);

  // Whether `command` changes shared state (and so should be saved).
  static bool changesState(Command const& command);

  void agentStart();
  void agentStop();
  bool agentRunning() const { return bool(agent_); }

  // The chip policy a FAP gets when it is next served (the default one if none is configured).
  ChipSettings chip(U16 fapId) const;
  std::map<U16, ChipSettings> const& chips() const { return chips_; }
  void chipIs(U16 fapId, ChipSettings const& settings) { chips_[fapId] = settings; }

  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> const& faps() const { return faps_; }
  Nubis::Ptr<Macsec::Status> const& macsec() const { return macsec_; }
  Nubis::Ptr<OruMacSec::IndexStatus> const& status() const { return status_; }
  // The running agent, or null.
  OruMacSec::IndexSm const* agent() const;
  Transcript& transcript() { return transcript_; }
  ResourceMonitor const& monitor() const { return monitor_; }

 private:
  class Agent;

  void apply(Command const& command);
  Nubis::Ptr<LogicalFap::IntfIdOrderedCol> existingFap(U16 fapId) const;
  // Refuses interfaces that are in the set of a FAP other than `fapId`.
  void checkSingleFap(U16 fapId, std::vector<Portix::IntfId> const& interfaces) const;
  // Warns of the MACsec subinterfaces among `interfaces` that only their port's membership
  // serves; when the interfaces `joined` a set, also of such subinterfaces of the ports among them.
  void warnPortServed(std::vector<Portix::IntfId> const& interfaces, bool joined);
  void retry(std::vector<Portix::IntfId> const& interfaces);

  Transcript transcript_;
  ResourceMonitor monitor_;
  std::size_t commands_ = 0;
  std::map<U16, ChipSettings> chips_;
  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> faps_;
  Nubis::Ptr<Macsec::Status> macsec_;
  Nubis::Ptr<OruMacSec::IndexStatus> status_;
  Nubis::Ptr<Agent> agent_;
};

}  // namespace sim
