#include "sim/ChipPolicy.h"

#include <fmt/format.h>

namespace sim {

namespace {

std::uint64_t portNumber(Portix::IntfId intfId) {
  return intfId.value() >> 32;
}
std::uint64_t subNumber(Portix::IntfId intfId) {
  return intfId.value() & 0xffffffffu;
}

}  // namespace

std::string chipLine(U16 fapId, ChipSpec const& spec) {
  return fmt::format("chip {} engines={} size={} esec-disabled={} per-port-disabled={} static={}",
                     fapId, spec.engines, spec.size, spec.esecDisabled,
                     spec.perPortDisabled ? "yes" : "no", spec.staticAllocation ? "yes" : "no");
}

ChipPolicy::ChipPolicy(LogicalFap::LogicalFapId fapId, ChipSpec const& spec)
    : IndexHelper(fapId, spec.size, spec.esecDisabled), spec_(spec) {}

U16 ChipPolicy::intfIdToEngineInstance(Portix::IntfId intfId) const {
  // With no engines there is nothing to serve; the index manager never asks then.
  return spec_.engines == 0 ? 0 : U16(portNumber(intfId) % spec_.engines);
}

U16 ChipPolicy::staticIndex(Portix::IntfId intfId) const {
  std::uint64_t const sub = subNumber(intfId);
  if (spec_.engines == 0 || sub >= kStaticStride) {
    return 0xFFFF;
  }
  std::uint64_t const index = (portNumber(intfId) - 1) / spec_.engines * kStaticStride + sub;
  return index > 0xFFFF ? U16(0xFFFF) : U16(index);
}

}  // namespace sim
