// The simulated switch and the forwarding agent that runs the index manager on it.
//
// The host holds all shared state: the chip policy configured per logical FAP, the logical FAPs
// with their interface sets, the MACsec status, and the published index status. The agent (an
// IndexSm derivation) runs over that state while started; stopping it destroys it and leaves
// every piece of shared state as it is, and input commands keep changing the inputs meanwhile,
// as other agents would.
#pragma once

#include <map>
#include <optional>
#include <ostream>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "sim/ChipPolicy.h"
#include "sim/Scenario.h"

namespace sim {

class SimHost {
 public:
  // Output of commands (show) goes to `out`.
  explicit SimHost(std::ostream& out);
  ~SimHost();
  SimHost(SimHost const&) = delete;
  SimHost& operator=(SimHost const&) = delete;

  // Carries out one command. A command that cannot apply (a FAP that does not exist, starting a
  // running agent, changing the chip of a FAP that exists or still has published status, ...)
  // throws ScenarioError and changes nothing.
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

 private:
  class Agent;

  void show(std::optional<U16> fapId) const;
  Nubis::Ptr<LogicalFap::IntfIdOrderedCol> existingFap(U16 fapId) const;

  std::ostream& out_;
  std::map<U16, ChipSettings> chips_;
  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> faps_;
  Nubis::Ptr<Macsec::Status> macsec_;
  Nubis::Ptr<OruMacSec::IndexStatus> status_;
  Nubis::Ptr<Agent> agent_;
};

}  // namespace sim
