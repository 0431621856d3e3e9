// Long random event sequences against a full host, checking after every event that no index an
// interface uses is lost, that no table entry is handed to two users, and that restarting the
// agent changes nothing that carrying on would not: the testing kit's policy check
// (OruMacSec/testing/PolicyCheck.h) over the three kinds of chip, with small tables so that they
// run full. FAP 1 is dynamic with a shared egress disabled index on two engines, FAP 2 dynamic
// with per-port egress disabled entries, FAP 3 static, every interface with an index of its own
// inside its tables.
//
// The default run is short enough for every CI run. For a long soak, raise the number of
// histories (100 of 50 events by default) and pick other seeds through the environment, e.g.
// ORUMACSEC_MODEL_HISTORIES=5000 ORUMACSEC_MODEL_SEED=7.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "OruMacSec/testing/PolicyCheck.h"
#include "support/IndexHost.h"

namespace {

using testsupport::chip;

unsigned long fromEnvironment(char const* name, unsigned long otherwise) {
  char const* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::stoul(value);
}

TEST(IndexManagerModel, NothingInUseIsLostNothingIsHandedOutTwiceRestartsChangeNothing) {
  testsupport::ChipConfig statics = chip(1, 20, 20, false, /*staticAllocation=*/true);
  for (Portix::IntfId const intf : OruMacSec::testing::defaultInterfaces()) {
    statics.staticIndexOf[intf] = U16(intf.portNumber() + 4 * intf.subNumber());
  }
  OruMacSec::testing::CheckOptions options;
  options.faps = {1, 2, 3};
  options.histories = unsigned(fromEnvironment("ORUMACSEC_MODEL_HISTORIES", options.histories));
  options.seed = fromEnvironment("ORUMACSEC_MODEL_SEED", options.seed);
  auto const baseline = Nubis::Node::liveCount();
  auto const report = OruMacSec::testing::checkPolicy(
      testsupport::policiesFrom(
          {{1, chip(2, 6, 6)}, {2, chip(1, 6, 6, /*perPortDisabled=*/true)}, {3, statics}}),
      options);
  EXPECT_TRUE(report.passed()) << report.text();
  EXPECT_EQ(Nubis::Node::liveCount(), baseline) << "an entity leaked";
}

}  // namespace
