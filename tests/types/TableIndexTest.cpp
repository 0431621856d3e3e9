#include "OruMacSec/types/TableIndex.h"

#include <gtest/gtest.h>

TEST(TableIndex, DefaultIsUnused) { EXPECT_EQ(OruMacSec::TableIndex().value(), 65534); }
