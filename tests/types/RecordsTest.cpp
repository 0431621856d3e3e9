#include <gtest/gtest.h>

#include <sstream>

#include "OruMacSec/types/IndexStatus.h"
#include "platform/Nubis/Ptr.h"

namespace {

using OruMacSec::EsecIndexInfo;
using OruMacSec::IndexStatus;
using OruMacSec::IsecIndexInfo;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;

Portix::IntfId intf(char const* name) {
  return Portix::IntfId(name);
}

TEST(SecIntfId, CarriesTheInterfaceUnchangedAndKeysAsIt) {
  SecIntfId const a(intf("Ethernet4.2"));
  EXPECT_EQ(a, SecIntfId(intf("Ethernet4.2")));
  EXPECT_EQ(a.intfId(), intf("Ethernet4.2"));
  EXPECT_EQ(std::hash<SecIntfId>()(a), std::hash<Portix::IntfId>()(intf("Ethernet4.2")));
  EXPECT_EQ(Nubis::Key::of(a).as<Portix::IntfId>(), intf("Ethernet4.2"));
  EXPECT_EQ(fmt::format("{}", a), "Ethernet4.2");
}

TEST(IndexRecords, CompareFieldByFieldAndPrintEveryField) {
  SecIntfId const id(intf("Ethernet1"));
  EsecIndexInfo const egress(id, TableIndex(5), 1);
  EXPECT_EQ(egress, EsecIndexInfo(id, TableIndex(5), 1));
  EXPECT_NE(egress, EsecIndexInfo(id, TableIndex(5), 0));
  EXPECT_NE(egress, EsecIndexInfo(id, TableIndex(6), 1));
  IsecIndexInfo const ingress(id, TableIndex(7), TableIndex(8), TableIndex(9), 1);
  EXPECT_EQ(ingress.isecSpIndex(), TableIndex(7));
  EXPECT_EQ(ingress.msSubportNum(), TableIndex(8));
  EXPECT_EQ(ingress.isecScIndex(), TableIndex(9));
  EXPECT_NE(ingress, IsecIndexInfo(id, TableIndex(7), TableIndex(9), TableIndex(8), 1));
  // A default record names no interface and no index.
  EXPECT_EQ(EsecIndexInfo().esecScIndex(), TableIndex::unused());
  EXPECT_EQ(IsecIndexInfo().secIntfId(), SecIntfId());
  std::ostringstream out;
  out << egress << " " << ingress;
  EXPECT_EQ(
      out.str(),
      "EsecIndexInfo{Ethernet1, esecScIndex 5, engine 1} IsecIndexInfo{Ethernet1, isecSpIndex "
      "7, msSubportNum 8, isecScIndex 9, engine 1}");
}

TEST(IndexStatus, AFapStatusIsCreatedOnceAndRemovedWithAllItsRecords) {
  auto const baseline = Nubis::Node::liveCount();
  {
    Nubis::Ptr<IndexStatus> status(new IndexStatus);
    LogicalFap::LogicalFapId const fap(3);
    auto const created = status->indexFapStatusIs(fap, 2, 511, 255);
    EXPECT_EQ(created->logicalFapId(), fap);
    EXPECT_EQ(created->numEngineInstances(), 2);
    EXPECT_EQ(created->esecDisabledIndex(), 511);
    EXPECT_EQ(created->isecDisabledIndex(), 255);
    SecIntfId const id(intf("Ethernet2"));
    created->esecIndexInfoIs(EsecIndexInfo(id, TableIndex(1), 0));
    created->isecIndexInfoIs(IsecIndexInfo(id, TableIndex(1), TableIndex(1), TableIndex(1), 0));

    auto const again = status->indexFapStatusIs(fap, 2, 511, 255);
    EXPECT_EQ(again, created) << "the existing entry, with its records";
    EXPECT_EQ(again->esecIndexInfo(id).esecScIndex(), TableIndex(1));
    // A record is stored under the key it carries; storing it again replaces it.
    again->esecIndexInfoIs(EsecIndexInfo(id, TableIndex(4), 0));
    EXPECT_EQ(again->esecIndexInfoSize(), 1u);
    EXPECT_EQ(again->esecIndexInfo(id).esecScIndex(), TableIndex(4));
    EXPECT_EQ(again->esecIndexInfo(SecIntfId(intf("Ethernet9"))), EsecIndexInfo());

    EXPECT_EQ(status->indexFapStatusDel(fap), created);
    EXPECT_FALSE(status->indexFapStatusHas(fap));
    EXPECT_FALSE(status->indexFapStatusDel(fap));
  }
  EXPECT_EQ(Nubis::Node::liveCount(), baseline);
}

TEST(IndexFapStatus, CountsServedSubinterfacesPerPortFromTheEgressRecords) {
  Nubis::Ptr<OruMacSec::IndexFapStatus> status(
      new OruMacSec::IndexFapStatus(LogicalFap::LogicalFapId(1), 1, 0, 0));
  auto const egress = [](char const* name) {
    return EsecIndexInfo(SecIntfId(intf(name)), TableIndex(1), 0);
  };
  status->esecIndexInfoIs(egress("Ethernet1"));
  status->esecIndexInfoIs(egress("Ethernet1.1"));
  status->esecIndexInfoIs(egress("Ethernet1.1"));  // replaced, not counted twice
  status->esecIndexInfoIs(egress("Ethernet1.2"));
  status->esecIndexInfoIs(egress("Ethernet2.1"));
  EXPECT_EQ(status->esecIndexInfoSubIntfCount(intf("Ethernet1")), 2u);
  status->esecIndexInfoDel(SecIntfId(intf("Ethernet1.1")));
  status->esecIndexInfoDel(SecIntfId(intf("Ethernet1.1")));
  EXPECT_EQ(status->esecIndexInfoSubIntfCount(intf("Ethernet1")), 1u);
  status->esecIndexInfoDelAll();
  EXPECT_EQ(status->esecIndexInfoSubIntfCount(intf("Ethernet2")), 0u);
}

}  // namespace
