#include "platform/Nubis/Collection.h"

#include <gtest/gtest.h>

#include "platform/LogicalFap/LogicalFap.h"

TEST(Smoke, Builds) {
  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> col(new LogicalFap::LogicalFapOrderedCol);
  col->logicalFapIs(LogicalFap::LogicalFapId(1))->intfIdIs(Portix::IntfId("Ethernet1"));
  EXPECT_EQ(col->logicalFapSize(), 1u);
}
