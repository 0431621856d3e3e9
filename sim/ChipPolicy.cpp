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
  return U16(portNumber(intfId) % spec_.engines);
}

U16 ChipPolicy::staticIndex(Portix::IntfId intfId) const {
  std::uint64_t const sub = subNumber(intfId);
  if (sub >= kStaticStride) {
    return 0xFFFF;
  }
  std::uint64_t const index = (portNumber(intfId) - 1) / spec_.engines * kStaticStride + sub;
  // The reserved disabled indexes are no interface's: an index that reaches them is none at all.
  bool const reserved =
      index >= spec_.size || (!spec_.perPortDisabled && index == spec_.esecDisabled);
  return reserved ? U16(0xFFFF) : U16(index);
}

}  // namespace sim
