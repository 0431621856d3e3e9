// The invariant checks of the testing kit, under the names the simulator's tests and the fuzz
// target use.
#pragma once

#include "OruMacSec/testing/Invariants.h"

namespace testsupport {

using OruMacSec::testing::checkAgent;
using OruMacSec::testing::checkFap;

}  // namespace testsupport
