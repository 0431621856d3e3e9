// The module's trace handle "OruMacSecIndexSm" and its trace and assertion macros.
//
// ORU_TRACE(level, format, args...) writes through the one handle of the module, naming the source
// file "OruMacSec/OruMacSecIndexSm", the calling function and line, and the class given by a
// `kTraceClass` constant in scope (each class of the module defines one). Arguments are evaluated
// and rendered only when the level is on. ORU_ASSERT(expr) stops the process printing the
// expression text and the module's source file.
#pragma once

#include "OruMacSec/types/EngineTable.h"
#include "platform/LogicalFap/LogicalFapId.h"
#include "platform/Vok/Assert.h"
#include "platform/Vok/Trace.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

inline constexpr char const kSourceFile[] = "OruMacSec/OruMacSecIndexSm";
inline constexpr char const kTraceHandleName[] = "OruMacSecIndexSm";

// Built on first use; every class of the module traces through it. Inline, so that the test of a
// trace level costs no call on the allocation paths.
inline Vok::TraceHandle& traceHandle() {
  static Vok::TraceHandle handle(kTraceHandleName, false);
  return handle;
}

// The hardware-full message, written to both trace channels: once to the platform's ring-buffer
// trace when one is available, and at level 0 of the text trace when that level is on.
// The table is named by its hardware identifier ("ESEC_SC_TABLE", ...).
void traceHardwareFull(EngineTable table, LogicalFap::LogicalFapId logicalFapId, U16 engineInstance,
                       char const* function, int line);

}  // namespace OruMacSec

#define ORU_TRACE(level, ...) \
  VOK_TRACE(::OruMacSec::traceHandle(), level, ::OruMacSec::kSourceFile, kTraceClass, __VA_ARGS__)

#define ORU_ASSERT(expr) VOK_ASSERT(expr, ::OruMacSec::kSourceFile)
