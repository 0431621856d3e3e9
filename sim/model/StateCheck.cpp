#include "sim/model/StateCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <map>
#include <tuple>

namespace sim {

namespace {

using OruMacSec::IndexFapStatus;

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
    // The records are checked as the collections hold them; the few warnings are then put in
    // table and interface order.
    for (auto r = status_.esecIndexInfoIter(); r; ++r) {
      Portix::IntfId const id = r.key().intfId();
      if (!status_.isecIndexInfoHas(r.key())) {
        warn(kEgress, id, "a lone egress record (no ingress record of the interface)");
      }
      checkRecord(kEgress, id, r->engineInstance(), {{"esec_sc", r->esecScIndex()}});
    }
    for (auto r = status_.isecIndexInfoIter(); r; ++r) {
      Portix::IntfId const id = r.key().intfId();
      if (!status_.esecIndexInfoHas(r.key())) {
        warn(kIngress, id, "a lone ingress record (no egress record of the interface)");
      }
      checkRecord(kIngress, id, r->engineInstance(),
                  {{"isec_sp", r->isecSpIndex()},
                   {"sub_port", r->msSubportNum()},
                   {"isec_sc", r->isecScIndex()}});
    }
    for (auto r = status_.esecLoopbackDisabledIndexInfoIter(); r; ++r) {
      checkRecord(kDisabled, r.key().intfId(), r->engineInstance(),
                  {{"esec_sc", r->esecScIndex()}});
    }
    std::stable_sort(records_.begin(), records_.end(), [](auto const& a, auto const& b) {
      return std::tie(a.table, a.id) < std::tie(b.table, b.id);
    });
    for (auto& record : records_) {
      out_.push_back(std::move(record.warning));
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

  void checkRecord(int table, Portix::IntfId id, U16 engine,
                   std::initializer_list<std::pair<char const*, OruMacSec::TableIndex>> indexes) {
    U16 const policyEngine = policy_->intfIdToEngineInstance(id);
    if (engine != policyEngine) {
      warn(table, id,
           fmt::format("engine {} differs from the chip policy's engine {} for the interface",
                       engine, policyEngine));
    }
    for (auto const& [column, index] : indexes) {
      if (index.value() > chip_.isecDisabled) {
        warn(table, id,
             fmt::format("{} index {} is beyond the table's largest index {}", column,
                         index.value(), chip_.isecDisabled));
      }
    }
  }

  void warn(int table, Portix::IntfId id, std::string text) {
    static constexpr std::array<std::pair<char const*, char const*>, 3> kTables = {
        {{"egress", "interface"}, {"ingress", "interface"}, {"egress_disabled", "port"}}};
    auto const [name, keyColumn] = kTables[std::size_t(table)];
    records_.push_back(
        {table,
         id,
         {name, recordRow(fapId(), keyColumn, Portix::valueToStrep(id)), std::move(text)}});
  }

  U16 fapId() const { return status_.logicalFapId().value(); }

  // The store's record tables, in the order their warnings come.
  static constexpr int kEgress = 0;
  static constexpr int kIngress = 1;
  static constexpr int kDisabled = 2;
  struct RecordWarning {
    int table;
    Portix::IntfId id;
    StateWarning warning;
  };

  IndexFapStatus const& status_;
  ChipSettings const chip_;
  Nubis::Ptr<ChipPolicy> const policy_;
  std::vector<StateWarning>& out_;
  std::vector<RecordWarning> records_;
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
