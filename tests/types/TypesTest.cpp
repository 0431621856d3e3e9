// The published record types, as the hardware-programming code and tools read them.
#include <gtest/gtest.h>

#include <sstream>

#include "OruMacSec/types/IndexStatus.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Vok/ValueToString.h"

namespace {

using OruMacSec::EsecIndexInfo;
using OruMacSec::IsecIndexInfo;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;

SecIntfId key(char const* name) {
  return SecIntfId(Portix::IntfId(name));
}
TableIndex at(U16 value) {
  return TableIndex(value);
}

TEST(TableIndex, ConstantsTextFormsOrderAndParsing) {
  EXPECT_EQ(TableIndex::min().value(), 0);
  EXPECT_EQ(TableIndex::max().value(), 65533);
  EXPECT_EQ(TableIndex().value(), 65534) << "the default is unused: no index chosen";
  EXPECT_EQ(TableIndex::unused().value(), 65534);
  EXPECT_EQ(TableIndex::invalid().value(), 65535);
  TableIndex index;
  index.valueIs(7);
  EXPECT_EQ(index, at(7));
  EXPECT_FALSE(index != at(7));
  EXPECT_TRUE(at(6) < at(7));
  EXPECT_FALSE(at(7) < at(7)) << "strict";
  EXPECT_FALSE(at(8) < at(7));
  EXPECT_EQ(std::hash<TableIndex>()(at(9)), 9u);

  EXPECT_EQ(Vok::valueToString(TableIndex::invalid()), "65535");
  EXPECT_EQ(fmt::format("[{:>4}]", at(7)), "[   7]");
  std::ostringstream out;
  out << TableIndex::max();
  EXPECT_EQ(out.str(), "65533");

  EXPECT_EQ(TableIndex::fromStrep("value=5"), at(5));
  EXPECT_EQ(TableIndex::fromStrep(" value = 65535 "), TableIndex::invalid());
  for (char const* bad : {"5", "value=", "value= ", "value=65536", "value=99999999999", "value=-1",
                          "value=5x", "index=5", " "}) {
    EXPECT_EQ(TableIndex::fromStrep(bad), std::nullopt) << bad;
  }
}

TEST(SecIntfId, CarriesTheInterfaceUnchangedAndOrdersAsIt) {
  SecIntfId const a = key("Ethernet4.2");
  EXPECT_EQ(a.intfId(), Portix::IntfId("Ethernet4.2"));
  EXPECT_EQ(std::hash<SecIntfId>()(a), std::hash<Portix::IntfId>()(a.intfId()));
  EXPECT_EQ(Nubis::Key::of(a).as<SecIntfId>(), a);
  EXPECT_EQ(fmt::format("{}", a), "Ethernet4.2");
  EXPECT_TRUE(a == key("Ethernet4.2") && !(a != key("Ethernet4.2")) && a != key("Ethernet4.3"));
  EXPECT_TRUE(a < key("Ethernet4.3") && !(a < a) && !(key("Ethernet5") < a)) << "strict";
}

TEST(IndexRecords, CompareEveryFieldAndPrintEveryField) {
  // Equal to itself, and unequal to a copy that differs in any one field.
  auto const comparesFieldByField = [](auto const& record, auto const& differingCopies) {
    EXPECT_TRUE(record == record && !(record != record));
    for (auto const& other : differingCopies) {
      EXPECT_TRUE(!(record == other) && record != other) << other;
    }
  };
  EsecIndexInfo const egress(key("Ethernet1"), at(5), 1);
  comparesFieldByField(egress, std::vector<EsecIndexInfo>{{key("Ethernet2"), at(5), 1},
                                                          {key("Ethernet1"), at(6), 1},
                                                          {key("Ethernet1"), at(5), 0}});
  IsecIndexInfo const ingress(key("Ethernet1"), at(7), at(8), at(9), 1);
  comparesFieldByField(ingress,
                       std::vector<IsecIndexInfo>{{key("Ethernet2"), at(7), at(8), at(9), 1},
                                                  {key("Ethernet1"), at(0), at(8), at(9), 1},
                                                  {key("Ethernet1"), at(7), at(0), at(9), 1},
                                                  {key("Ethernet1"), at(7), at(8), at(0), 1},
                                                  {key("Ethernet1"), at(7), at(8), at(9), 0}});
  // A default record names no interface, no index and engine 0.
  EXPECT_EQ(EsecIndexInfo(), EsecIndexInfo(SecIntfId(), TableIndex::unused(), 0));
  EXPECT_EQ(IsecIndexInfo(),
            IsecIndexInfo(SecIntfId(), TableIndex(), TableIndex(), TableIndex(), 0));
  std::ostringstream out;
  out << egress << " " << ingress;
  EXPECT_EQ(out.str(),
            "EsecIndexInfo{Ethernet1, esecScIndex 5, engine 1} IsecIndexInfo{Ethernet1, "
            "isecSpIndex 7, msSubportNum 8, isecScIndex 9, engine 1}");
}

TEST(IndexStatus, AFapStatusIsCreatedOnceKeysRecordsAndCountsServedSubinterfaces) {
  auto const baseline = Nubis::Node::liveCount();
  {
    Nubis::Ptr<OruMacSec::IndexStatus> status(new OruMacSec::IndexStatus);
    LogicalFap::LogicalFapId const fap(3);
    auto const created = status->indexFapStatusIs(fap, 2, 511, 255);
    EXPECT_EQ(created->logicalFapId(), fap);
    EXPECT_EQ(created->numEngineInstances(), 2);
    EXPECT_EQ(created->esecDisabledIndex(), 511);
    EXPECT_EQ(created->isecDisabledIndex(), 255);
    EXPECT_EQ(status->indexFapStatusIs(fap, 2, 511, 255), created) << "found, not made again";
    // Readers tell the collections apart by these numbers.
    EXPECT_EQ(std::vector<Nubis::AttrId>({OruMacSec::IndexStatus::kIndexFapStatusAttr,
                                          created->kEsecIndexInfoAttr, created->kIsecIndexInfoAttr,
                                          created->kEsecLoopbackDisabledIndexInfoAttr}),
              std::vector<Nubis::AttrId>({130, 134, 135, 136}));

    for (char const* name : {"Ethernet1", "Ethernet1.1", "Ethernet1.1", "Ethernet1.2"}) {
      created->esecIndexInfoIs(EsecIndexInfo(key(name), at(1), 0));
    }
    created->esecIndexInfoIs(EsecIndexInfo(key("Ethernet1.2"), at(4), 0));
    EXPECT_EQ(created->esecIndexInfo(key("Ethernet1.2")).esecScIndex(), at(4)) << "replaced";
    EXPECT_EQ(created->esecIndexInfo(key("Ethernet9")), EsecIndexInfo()) << "absent";
    Portix::IntfId const port("Ethernet1");
    EXPECT_EQ(created->esecIndexInfoSubIntfCount(port), 2u) << "the port itself does not count";
    for (char const* name : {"Ethernet1.1", "Ethernet1.1", "Ethernet1"}) {
      created->esecIndexInfoDel(key(name));
    }
    EXPECT_EQ(created->esecIndexInfoSubIntfCount(port), 1u);
    created->esecIndexInfoDelAll();
    EXPECT_TRUE(created->esecIndexInfoSubIntfCount(port) == 0 && created->esecIndexInfoSize() == 0);
    EXPECT_EQ(status->indexFapStatusDel(fap), created);
    EXPECT_FALSE(status->indexFapStatusDel(fap));
    status->indexFapStatusIs(fap, 1, 0, 0);
    status->indexFapStatusDelAll();
    EXPECT_EQ(status->indexFapStatusSize(), 0u);
  }
  EXPECT_EQ(Nubis::Node::liveCount(), baseline);
}

}  // namespace
