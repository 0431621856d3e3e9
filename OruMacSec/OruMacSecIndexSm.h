// The one header a host of MACsec index management includes.
//
// It declares the state machines a host derives and drives (IndexSm, with the chip policy
// IndexHelper it supplies per logical FAP), the resources they keep (IndexFapSm, EngineResources,
// TableResources), and brings in the platform types the component is written against (entities,
// counted references, interface identifiers, the logical FAP and MACsec inputs, logs and traces)
// and the published index status.
#pragma once

#include "OruMacSec/EngineResources.h"
#include "OruMacSec/IndexFapSm.h"
#include "OruMacSec/IndexHelper.h"
#include "OruMacSec/IndexSm.h"
#include "OruMacSec/OruMacSecLog.h"
#include "OruMacSec/OruMacSecTrace.h"
#include "OruMacSec/TableResources.h"
#include "OruMacSec/types/IndexFapStatus.h"
#include "OruMacSec/types/IndexInfo.h"
#include "OruMacSec/types/IndexStatus.h"
#include "OruMacSec/types/SecIntfId.h"
#include "OruMacSec/types/TableIndex.h"
#include "platform/LogicalFap/LogicalFap.h"
#include "platform/Macsec/Status.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Portix/IntfId.h"
