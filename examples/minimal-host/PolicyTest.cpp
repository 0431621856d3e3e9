// The example's chip policy checked against the index manager with the testing kit: random
// histories of two logical FAPs, each served by its own TwoEngineChip, with every duty of the
// policy and every invariant of the manager checked after each event. Exit status 0 when every
// history passes; otherwise the report says what broke and how to replay it.
#include <cstdio>

#include "OruMacSec/testing/PolicyCheck.h"
#include "TwoEngineChip.h"

int main() {
  OruMacSec::testing::CheckOptions options;
  options.faps = {1, 2};
  options.histories = 200;
  auto const report = OruMacSec::testing::checkPolicy(
      [](LogicalFap::LogicalFapId fapId) {
        return Nubis::Ptr<OruMacSec::IndexHelper>(new TwoEngineChip(fapId));
      },
      options);
  std::fputs(report.text().c_str(), stdout);
  return report.passed() ? 0 : 1;
}
