#include "sim/model/StateCheck.h"

#include <fmt/format.h>

#include <map>

namespace sim {

namespace {

using OruMacSec::IndexFapStatus;

// A record's indexes by column name, in the store's column order.
using Indexes = std::vector<std::pair<char const*, OruMacSec::TableIndex>>;

// The key columns of a record's row, as the warnings and the store's errors name them.
std::string recordRow(U16 fapId, char const* keyColumn, std::string const& interface) {
  return fmt::format("(fap={}, {}='{}')", fapId, keyColumn, interface);
}

class FapChecker {
 public:
  FapChecker(IndexFapStatus const& status, ChipSettings const& chip, std::vector<StateWarning>& out)
      : status_(status),
        chip_(chip),
        policy_(new ChipPolicy(status.logicalFapId(), chip)),
        out_(out) {}

  void run() {
    checkConstants();
    std::map<Portix::IntfId, OruMacSec::EsecIndexInfo> egress;
    std::map<Portix::IntfId, OruMacSec::IsecIndexInfo> ingress;
    std::map<Portix::IntfId, OruMacSec::EsecIndexInfo> disabled;
    for (auto r = status_.esecIndexInfoIter(); r; ++r) {
      egress.emplace(r.key().intfId(), *r);
    }
    for (auto r = status_.isecIndexInfoIter(); r; ++r) {
      ingress.emplace(r.key().intfId(), *r);
    }
    for (auto r = status_.esecLoopbackDisabledIndexInfoIter(); r; ++r) {
      disabled.emplace(r.key().intfId(), *r);
    }
    for (auto const& [id, info] : egress) {
      if (ingress.count(id) == 0) {
        warn("egress", "interface", id,
             "a lone egress record (no ingress record of the interface)");
      }
      checkRecord("egress", "interface", id, info.engineInstance(),
                  {{"esec_sc", info.esecScIndex()}});
    }
    for (auto const& [id, info] : ingress) {
      if (egress.count(id) == 0) {
        warn("ingress", "interface", id,
             "a lone ingress record (no egress record of the interface)");
      }
      checkRecord("ingress", "interface", id, info.engineInstance(),
                  {{"isec_sp", info.isecSpIndex()},
                   {"sub_port", info.msSubportNum()},
                   {"isec_sc", info.isecScIndex()}});
    }
    for (auto const& [id, info] : disabled) {
      checkRecord("egress_disabled", "port", id, info.engineInstance(),
                  {{"esec_sc", info.esecScIndex()}});
    }
  }

 private:
  void checkConstants() {
    std::string const row = fmt::format("(fap={})", fapId());
    auto const compare = [&](char const* what, U16 published, U16 policy) {
      if (published != policy) {
        out_.push_back({"fap_status", row,
                        fmt::format("the published {} {} differs from the chip policy's {}", what,
                                    published, policy)});
      }
    };
    compare("engine count", status_.numEngineInstances(), chip_.engines);
    compare("egress disabled index", status_.esecDisabledIndex(), chip_.esecDisabled);
    compare("ingress disabled index", status_.isecDisabledIndex(), chip_.isecDisabled);
  }

  void checkRecord(char const* table, char const* keyColumn, Portix::IntfId id, U16 engine,
                   Indexes const& indexes) {
    U16 const policyEngine = policy_->intfIdToEngineInstance(id);
    if (engine != policyEngine) {
      warn(table, keyColumn, id,
           fmt::format("engine {} differs from the chip policy's engine {} for the interface",
                       engine, policyEngine));
    }
    for (auto const& [column, index] : indexes) {
      if (index.value() > chip_.isecDisabled) {
        warn(table, keyColumn, id,
             fmt::format("{} index {} is beyond the table's largest index {}", column,
                         index.value(), chip_.isecDisabled));
      }
    }
  }

  void warn(char const* table, char const* keyColumn, Portix::IntfId id, std::string text) {
    out_.push_back(
        {table, recordRow(fapId(), keyColumn, Portix::valueToStrep(id)), std::move(text)});
  }

  U16 fapId() const { return status_.logicalFapId().value(); }

  IndexFapStatus const& status_;
  ChipSettings const chip_;
  Nubis::Ptr<ChipPolicy> const policy_;
  std::vector<StateWarning>& out_;
};

}  // namespace

std::vector<StateWarning> checkPublished(Switch const& host) {
  std::map<U16, Nubis::Ptr<IndexFapStatus>> faps;
  for (auto fap = host.status().indexFapStatusIter(); fap; ++fap) {
    faps.emplace(fap.key().value(), fap.value());
  }
  std::vector<StateWarning> out;
  for (auto const& [fapId, status] : faps) {
    FapChecker(*status, host.chip(fapId), out).run();
  }
  return out;
}

}  // namespace sim
