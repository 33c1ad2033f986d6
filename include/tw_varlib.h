// tw_varlib: every public class of tw_corelib, tw_snmplib and tw_varlib.
#pragma once

// Framework layer
#include "corelib/framework/Array.h"
#include "corelib/framework/ByteArray.h"
#include "corelib/framework/CriticalSection.h"
#include "corelib/framework/Exception.h"
#include "corelib/framework/File.h"
#include "corelib/framework/FileException.h"
#include "corelib/framework/FileFind.h"
#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/Map.h"
#include "corelib/framework/Runtime.h"
#include "corelib/framework/SingleLock.h"
#include "corelib/framework/String.h"
#include "corelib/framework/StringArray.h"
#include "corelib/framework/SyncObject.h"
#include "corelib/framework/Time.h"
#include "corelib/framework/UIntArray.h"
#include "corelib/framework/WordArray.h"

// tw_corelib
#include "corelib/Message.h"
#include "corelib/MessageServer.h"
#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "corelib/XML.h"

// tw_snmplib
#include "snmplib/SnmpPdu.h"
#include "snmplib/SnmpUtility.h"
#include "snmplib/SnmpVarBind.h"

// tw_varlib
#include "varlib/foundation/ArrayEx.h"
#include "varlib/foundation/MapEx.h"
#include "varlib/values/VariableList.h"
#include "varlib/metadata/FunctionSignature.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/metadata/VariableMetaInfo.h"
#include "varlib/plugins/PluginKit.h"
#include "varlib/plugins/PluginProxy.h"
#include "varlib/plugins/PluginRegistry.h"
#include "varlib/formats/JSON.h"
#include "varlib/cache/MemoryCacheEntry.h"
#include "varlib/cache/MemoryCache.h"
#include "varlib/reports/ReportManager.h"
