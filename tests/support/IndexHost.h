// A host of the index manager for the project's tests: the testing kit's host, with a chip policy
// per logical FAP that a test configures, and shorthands for its inputs and published records.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "OruMacSec/testing/Host.h"

namespace testsupport {

inline Portix::IntfId intf(std::string const& name) {
  return Portix::IntfId(name);
}
inline LogicalFap::LogicalFapId fap(U16 id) {
  return LogicalFap::LogicalFapId(id);
}

// Published records written out by hand, for expectations and for crafting status by hand.
inline OruMacSec::EsecIndexInfo esecRecord(char const* name, U16 index, U16 engine) {
  return OruMacSec::EsecIndexInfo(OruMacSec::SecIntfId(intf(name)), OruMacSec::TableIndex(index),
                                  engine);
}
inline OruMacSec::IsecIndexInfo isecRecord(char const* name, U16 sp, U16 subport, U16 sc,
                                           U16 engine) {
  return OruMacSec::IsecIndexInfo(OruMacSec::SecIntfId(intf(name)), OruMacSec::TableIndex(sp),
                                  OruMacSec::TableIndex(subport), OruMacSec::TableIndex(sc),
                                  engine);
}

// What a test chip looks like. Engines serve ports by number modulo the engine count, so a port
// and its subinterfaces share an engine; `engineOf` overrides that per interface. Static indexes
// come from `staticIndexOf`, or port number + subinterface number * 100.
struct ChipConfig {
  U16 engines = 1;
  U16 isecDisabledIndex = 255;
  U16 esecDisabledIndex = 255;
  bool perPortDisabled = false;
  bool staticAllocation = false;
  std::map<Portix::IntfId, U16> engineOf;
  std::map<Portix::IntfId, U16> staticIndexOf;
  // Called whenever the engine of an interface is asked, to act as another agent would mid-way.
  std::function<void(Portix::IntfId)> onEngineAsked;
};

inline ChipConfig chip(U16 engines, U16 isecDisabledIndex, U16 esecDisabledIndex,
                       bool perPortDisabled = false, bool staticAllocation = false) {
  return ChipConfig{
      engines, isecDisabledIndex, esecDisabledIndex, perPortDisabled, staticAllocation, {}, {}, {}};
}

class TestPolicy : public OruMacSec::IndexHelper {
 public:
  TestPolicy(LogicalFap::LogicalFapId id, ChipConfig config)
      : IndexHelper(id, config.isecDisabledIndex, config.esecDisabledIndex),
        config_(std::move(config)) {}

  U16 intfIdToEngineInstance(Portix::IntfId id) const override {
    if (config_.onEngineAsked) {
      config_.onEngineAsked(id);
    }
    return lookup(config_.engineOf, id, U16(id.portNumber() % config_.engines));
  }
  U16 numEngineInstances() const override { return config_.engines; }
  bool useStaticIndexAllocation() const override { return config_.staticAllocation; }
  U16 staticIndex(Portix::IntfId id) const override {
    return lookup(config_.staticIndexOf, id, U16(id.portNumber() + id.subNumber() * 100));
  }
  bool esecDisabledIndexPerPortRequired() const override { return config_.perPortDisabled; }

 private:
  static U16 lookup(std::map<Portix::IntfId, U16> const& map, Portix::IntfId id, U16 otherwise) {
    auto const found = map.find(id);
    return found == map.end() ? otherwise : found->second;
  }
  ChipConfig config_;
};

// Makes each FAP's policy from the configuration given for it, or a default one.
inline OruMacSec::testing::PolicyFactory policiesFrom(std::map<U16, ChipConfig> configs) {
  return [configs = std::move(configs)](LogicalFap::LogicalFapId id) {
    auto const found = configs.find(id.value());
    return Nubis::Ptr<OruMacSec::IndexHelper>(
        new TestPolicy(id, found == configs.end() ? ChipConfig() : found->second));
  };
}

// The kit's agent, with the policies of the configurations given when it is made.
class TestIndexSm : public OruMacSec::testing::PolicyIndexSm {
 public:
  TestIndexSm(Nubis::Ptr<LogicalFap::LogicalFapOrderedCol const> const& faps,
              Nubis::Ptr<OruMacSec::IndexStatus> const& status,
              Nubis::Ptr<Macsec::Status const> const& macsec,
              std::map<U16, ChipConfig> configs = {})
      : PolicyIndexSm(faps, status, macsec, policiesFrom(std::move(configs))) {}
};

// The kit's host, with the configured chips and shorthands for its inputs and state.
struct IndexHost : OruMacSec::testing::Host {
  std::map<U16, ChipConfig> configs;

  // Builds the agent with the configured chips and starts it.
  void start() {
    agent = Nubis::Ptr<TestIndexSm>(new TestIndexSm(faps, status, macsec, configs));
    Host::start();
  }

  Nubis::Ptr<LogicalFap::IntfIdOrderedCol> addFap(U16 id,
                                                  std::vector<std::string> const& names = {}) {
    auto set = faps->logicalFapIs(fap(id));
    for (auto const& name : names) {
      set->intfIdIs(intf(name));
    }
    return set;
  }
  void addIntf(U16 id, std::string const& name) { faps->logicalFap(fap(id))->intfIdIs(intf(name)); }
  void delIntf(U16 id, std::string const& name) {
    faps->logicalFap(fap(id))->intfIdDel(intf(name));
  }
  void macsecOn(std::string const& name) { macsec->cpStatusIs(intf(name)); }
  void macsecOff(std::string const& name) { macsec->cpStatusDel(intf(name)); }

  Nubis::Ptr<OruMacSec::IndexFapStatus> fapStatus(U16 id) const {
    return status->indexFapStatus(fap(id));
  }
  Nubis::Ptr<OruMacSec::IndexFapSm> fapSm(U16 id) const { return agent->indexFapSm(fap(id)); }
  Nubis::Ptr<OruMacSec::EngineResources> engine(U16 id, U16 engineInstance) const {
    return fapSm(id)->oruMacSecEngineResources(engineInstance);
  }

  // The interface's egress or ingress record, if any.
  std::optional<OruMacSec::EsecIndexInfo> esec(U16 id, std::string const& name) const {
    return find(fapStatus(id)->esecIndexInfoHas(key(name)),
                fapStatus(id)->esecIndexInfo(key(name)));
  }
  std::optional<OruMacSec::IsecIndexInfo> isec(U16 id, std::string const& name) const {
    return find(fapStatus(id)->isecIndexInfoHas(key(name)),
                fapStatus(id)->isecIndexInfo(key(name)));
  }

 private:
  static OruMacSec::SecIntfId key(std::string const& name) {
    return OruMacSec::SecIntfId(intf(name));
  }
  template <typename Record>
  static std::optional<Record> find(bool has, Record const& record) {
    return has ? std::optional<Record>(record) : std::nullopt;
  }
};

}  // namespace testsupport
