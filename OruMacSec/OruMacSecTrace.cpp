#include "OruMacSec/OruMacSecTrace.h"

#include <string>
#include <vector>

#include "platform/Vok/RingTrace.h"
#include "platform/Vok/ValueToString.h"

namespace OruMacSec {

namespace {

constexpr char const kTraceClass[] = "IndexFapSm";
constexpr char const kFullText[] = " hardware resources are full on LogicalFapId ";
constexpr char const kEngineText[] = ", EngineInstance ";

}  // namespace

void traceHardwareFull(EngineTable table, LogicalFap::LogicalFapId logicalFapId, U16 engineInstance,
                       char const* function, int line) {
  U16 const fap = logicalFapId.value();
  std::string const tableId(tableHardwareId(table));
  if (Vok::RingTrace* const ring = Vok::defaultRingTrace()) {
    ring->write(std::string("%s") + kFullText + "%s" + kEngineText + "%s",
                {tableId, Vok::valueToString(fap), Vok::valueToString(engineInstance)});
  }
  Vok::TraceHandle const& handle = traceHandle();
  if (!handle.enabled(0)) {
    return;
  }
  handle.write(0, kSourceFile, function, line, kTraceClass,
               tableId + kFullText + Vok::valueToString(fap) + kEngineText +
                   Vok::valueToString(engineInstance));
}

}  // namespace OruMacSec
