#include "OruMacSec/OruMacSecLog.h"

#include <gtest/gtest.h>

TEST(LogCatalogue, HasSevenEntries) {
  EXPECT_EQ(OruMacSec::kLogCatalogueSize, 7u);
}
