// A canonical text of everything index management keeps (the testing kit's snapshot): the
// published status of every FAP and, for the FAPs served, the entries booked in each engine's
// tables. Two hosts whose dumps are equal publish the same indexes and will hand out the same ones
// next.
#pragma once

#include <string>

#include "OruMacSec/testing/Snapshot.h"

namespace testsupport {

inline std::string publishedDump(OruMacSec::IndexStatus const& status) {
  return OruMacSec::testing::Snapshot::of(status, nullptr).publishedText();
}

inline std::string bookingDump(OruMacSec::IndexSm const& sm) {
  return OruMacSec::testing::Snapshot::of(*sm.indexStatus(), &sm).bookedText();
}

}  // namespace testsupport
