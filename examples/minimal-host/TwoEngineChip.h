// The chip layer of the example host: the chip policy of one logical FAP on a chip with two MACsec
// engines of 64-entry tables.
#pragma once

#include "OruMacSec/OruMacSecIndexSm.h"

// Even ports on engine 0, odd ports on engine 1: a subinterface has its port's number, so it
// shares its port's engine, and an interface's engine never changes. Every interface gets the
// lowest free entry of each table (dynamic allocation), and all ports share one egress disabled
// index. The facts are constants, the same for every object, so a FAP served anew gets the same.
class TwoEngineChip : public OruMacSec::IndexHelper {
 public:
  // The ingress disabled index (64) is also every table's largest index; the egress one is
  // inside the tables too.
  explicit TwoEngineChip(LogicalFap::LogicalFapId fapId)
      : IndexHelper(fapId, /*isecDisabledIndex=*/64, /*esecDisabledIndex=*/64) {}

  U16 numEngineInstances() const override { return 2; }
  U16 intfIdToEngineInstance(Portix::IntfId intfId) const override {
    return U16(intfId.portNumber() % 2);
  }
  bool useStaticIndexAllocation() const override { return false; }
  // Never asked: the chip is dynamic.
  U16 staticIndex(Portix::IntfId) const override {
    return OruMacSec::TableIndex::invalid().value();
  }
  bool esecDisabledIndexPerPortRequired() const override { return false; }
};
