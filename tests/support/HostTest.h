// A test fixture over one IndexHost that fails the test when an entity outlives the host.
#pragma once

#include <gtest/gtest.h>

#include "support/IndexHost.h"

namespace testsupport {

class HostTest : public ::testing::Test {
 protected:
  void SetUp() override { baseline_ = Nubis::Node::liveCount(); }
  void TearDown() override {
    host = IndexHost();
    EXPECT_EQ(Nubis::Node::liveCount(), baseline_) << "an entity leaked";
  }

  IndexHost host;

 private:
  std::int64_t baseline_ = 0;
};

}  // namespace testsupport
