#pragma once
// LLDP-EXT-DOT3-MIB: the IEEE 802.3 extension tables (MAC/PHY, power via MDI, link
// aggregation, maximum frame size).
#include "mib/ModuleDeclarations.h"

// The module's tables, each named once.
#define LLDP_XDOT3_MIB_TABLES(X)                                                                   \
    X(lldpXdot3PortConfigTable)                                                                    \
    X(lldpXdot3LocPortTable)                                                                       \
    X(lldpXdot3LocPowerTable)                                                                      \
    X(lldpXdot3LocLinkAggTable)                                                                    \
    X(lldpXdot3LocMaxFrameSizeTable)                                                               \
    X(lldpXdot3RemPortTable)                                                                       \
    X(lldpXdot3RemPowerTable)                                                                      \
    X(lldpXdot3RemLinkAggTable)                                                                    \
    X(lldpXdot3RemMaxFrameSizeTable)

LLDP_MIB_MODULE_DECLARATIONS(LldpXdot3MIB, LLDP_XDOT3_MIB_TABLES)
