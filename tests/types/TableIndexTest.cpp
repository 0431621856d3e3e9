#include "OruMacSec/types/TableIndex.h"

#include <gtest/gtest.h>

#include <sstream>
#include <unordered_set>

#include "platform/Vok/ValueToString.h"

namespace {

using OruMacSec::TableIndex;

TEST(TableIndex, ConstantsAndTheDefaultMeanWhatTheyName) {
  EXPECT_EQ(TableIndex::min().value(), 0);
  EXPECT_EQ(TableIndex::max().value(), 65533);
  EXPECT_EQ(TableIndex::unused().value(), 65534);
  EXPECT_EQ(TableIndex::invalid().value(), 65535);
  EXPECT_EQ(TableIndex(), TableIndex::unused()) << "no index chosen, not a failed allocation";
  EXPECT_NE(TableIndex(), TableIndex::invalid());
  TableIndex index;
  index.valueIs(7);
  EXPECT_EQ(index, TableIndex(7));
  EXPECT_LT(TableIndex(6), TableIndex(7));
  std::unordered_set<TableIndex> const set{TableIndex(1), TableIndex(1), TableIndex(2)};
  EXPECT_EQ(set.size(), 2u);
}

TEST(TableIndex, TextFormsAreTheDecimalValue) {
  EXPECT_EQ(Vok::valueToString(TableIndex()), "65534");
  EXPECT_EQ(Vok::valueToString(TableIndex::invalid()), "65535");
  EXPECT_EQ(fmt::format("{}", TableIndex(42)), "42");
  EXPECT_EQ(fmt::format("[{:>4}]", TableIndex(7)), "[   7]");
  std::ostringstream out;
  out << TableIndex::max();
  EXPECT_EQ(out.str(), "65533");
}

TEST(TableIndex, ParsesTheValueAttributeAndNothingElse) {
  EXPECT_EQ(TableIndex::fromStrep("value=5"), TableIndex(5));
  EXPECT_EQ(TableIndex::fromStrep(" value = 65535 "), TableIndex::invalid());
  for (char const* bad : {"5", "value=", "value=65536", "value=-1", "value=5x", "index=5", ""}) {
    EXPECT_EQ(TableIndex::fromStrep(bad), std::nullopt) << bad;
  }
}

}  // namespace
