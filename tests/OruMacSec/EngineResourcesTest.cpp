#include "OruMacSec/EngineResources.h"

#include <gtest/gtest.h>

namespace {

using OruMacSec::EngineResources;
using OruMacSec::TableIndex;

TEST(EngineResources, StartsWithoutTablesAndNotFull) {
  Nubis::Ptr<EngineResources> engine(new EngineResources(3));
  EXPECT_EQ(engine->engineInstance(), 3);
  EXPECT_FALSE(engine->esecScIndex());
  EXPECT_FALSE(engine->isecScIndex());
  EXPECT_FALSE(engine->isecSpIndex());
  EXPECT_FALSE(engine->msSubportNum());
  EXPECT_FALSE(engine->hwResourcesFull());
  EXPECT_FALSE(engine->isecSpIndexDel()) << "deleting an absent table gives null";
  EXPECT_FALSE(engine->isecSpIndex());
}

TEST(EngineResources, TableIsKeepsATableOfTheSameNameAndSizeAndStartsAfreshOtherwise) {
  auto const baseline = Nubis::Node::liveCount();
  {
    Nubis::Ptr<EngineResources> engine(new EngineResources(0));
    auto const first = engine->esecScIndexIs("EsecScTable", 100);
    first->allocateIndex(5);
    EXPECT_EQ(engine->esecScIndexIs("EsecScTable", 100), first);
    EXPECT_TRUE(first->allocatedIndexHas(5));

    auto const resized = engine->esecScIndexIs("EsecScTable", 101);
    EXPECT_NE(resized, first);
    EXPECT_EQ(resized->allocatedIndexSize(), 0u);
    auto const renamed = engine->esecScIndexIs("OtherTable", 101);
    EXPECT_NE(renamed, resized);
    EXPECT_EQ(engine->esecScIndex(), renamed);

    // The four attributes are independent.
    engine->isecScIndexIs("IsecScTcam", 10);
    engine->isecSpIndexIs("IsecSpTcam", 10);
    engine->msSubportNumIs("SubPortPolicyTable", 10);
    EXPECT_EQ(engine->isecScIndex()->name(), "IsecScTcam");
    EXPECT_EQ(engine->msSubportNum()->maxIndex(), 10);

    auto const handed = engine->msSubportNumDel();
    EXPECT_EQ(handed->name(), "SubPortPolicyTable");
    EXPECT_FALSE(engine->msSubportNum());
  }
  EXPECT_EQ(Nubis::Node::liveCount(), baseline) << "engine and tables are all destroyed";
}

}  // namespace
