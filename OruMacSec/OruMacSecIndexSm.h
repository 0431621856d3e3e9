// The one header a host of MACsec index management includes.
//
// It brings in the platform types the component is written against (entities, counted
// references, interface identifiers, the logical FAP and MACsec inputs, logs and traces) and the
// published index status.
#pragma once

#include "OruMacSec/OruMacSecLog.h"
#include "OruMacSec/OruMacSecTrace.h"
#include "OruMacSec/types/IndexFapStatus.h"
#include "OruMacSec/types/IndexInfo.h"
#include "OruMacSec/types/IndexStatus.h"
#include "OruMacSec/types/SecIntfId.h"
#include "OruMacSec/types/TableIndex.h"
#include "platform/LogicalFap/LogicalFap.h"
#include "platform/Macsec/Status.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Portix/IntfId.h"
