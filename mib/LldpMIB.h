#pragma once
// LLDP-MIB: the module's entry points, its scalar and table handlers, and the
// lldpRemTablesChange notification.
#include "mib/ModuleDeclarations.h"

#include <cstdint>

// The module's tables and scalars, each named once: these lists drive the declarations below,
// the definitions of the named functions, initialisation and unregistration.
#define LLDP_MIB_TABLES(X)                                                                         \
    X(lldpPortConfigTable)                                                                         \
    X(lldpConfigManAddrTable)                                                                      \
    X(lldpStatsTxPortTable)                                                                        \
    X(lldpStatsRxPortTable)                                                                        \
    X(lldpLocPortTable)                                                                            \
    X(lldpLocManAddrTable)                                                                         \
    X(lldpRemTable)                                                                                \
    X(lldpRemManAddrTable)                                                                         \
    X(lldpRemUnknownTLVTable)                                                                      \
    X(lldpRemOrgDefInfoTable)

#define LLDP_MIB_SCALARS(X)                                                                        \
    X(lldpMessageTxInterval)                                                                       \
    X(lldpMessageTxHoldMultiplier)                                                                 \
    X(lldpReinitDelay)                                                                             \
    X(lldpTxDelay)                                                                                 \
    X(lldpNotificationInterval)                                                                    \
    X(lldpStatsRemTablesLastChangeTime)                                                            \
    X(lldpStatsRemTablesInserts)                                                                   \
    X(lldpStatsRemTablesDeletes)                                                                   \
    X(lldpStatsRemTablesDrops)                                                                     \
    X(lldpStatsRemTablesAgeouts)                                                                   \
    X(lldpLocChassisIdSubtype)                                                                     \
    X(lldpLocChassisId)                                                                            \
    X(lldpLocSysName)                                                                              \
    X(lldpLocSysDesc)                                                                              \
    X(lldpLocSysCapSupported)                                                                      \
    X(lldpLocSysCapEnabled)

LLDP_MIB_MODULE_DECLARATIONS(LldpMIB, LLDP_MIB_TABLES)

#define LLDP_MIB_DECLARE_SCALAR(scalar) Netsnmp_Node_Handler handle_##scalar;
LLDP_MIB_SCALARS(LLDP_MIB_DECLARE_SCALAR)

namespace Snmp {
int lldpRemTablesChangeNotify(uint32_t inserts, uint32_t deletes, uint32_t drops, uint32_t ageouts,
                              Zim::String8 context);
}
