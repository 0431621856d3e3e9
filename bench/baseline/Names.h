// The straightforward design of index management, kept to measure the component against.
//
// This folder is a frozen copy of the component's tables, engines and per-FAP state machine as
// they were before their internals were made to scale: a free-entry search that probes the hash
// set of used entries from 0 upwards, a scan of every egress record to learn whether a port still
// has an allocated subinterface, and a walk of the whole MACsec status for each port handled. It
// shares the platform, the published records, the chip policy and the diagnostics with the
// component; only the benchmarks use it.
#pragma once

#include "OruMacSec/IndexHelper.h"
#include "OruMacSec/OruMacSecLog.h"
#include "OruMacSec/OruMacSecTrace.h"
#include "OruMacSec/types/IndexFapStatus.h"
#include "OruMacSec/types/IndexInfo.h"
#include "OruMacSec/types/TableIndex.h"

namespace OruMacSecBaseline {

using OruMacSec::EsecIndexInfo;
using OruMacSec::IndexFapStatus;
using OruMacSec::IndexHelper;
using OruMacSec::IsecIndexInfo;
using OruMacSec::MACSEC_INTERFACE_HW_RESOURCE_FULL;
using OruMacSec::MACSEC_INTERFACE_HW_RESOURCE_NORMAL;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;
using OruMacSec::traceHardwareFull;

}  // namespace OruMacSecBaseline
