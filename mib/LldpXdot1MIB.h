#pragma once
// LLDP-EXT-DOT1-MIB: the IEEE 802.1 extension tables (port VLAN, protocol VLANs, VLAN names,
// protocol identities).
#include "mib/ModuleDeclarations.h"

// The module's tables, each named once.
#define LLDP_XDOT1_MIB_TABLES(X)                                                                   \
    X(lldpXdot1ConfigPortVlanTable)                                                                \
    X(lldpXdot1ConfigVlanNameTable)                                                                \
    X(lldpXdot1ConfigProtoVlanTable)                                                               \
    X(lldpXdot1ConfigProtocolTable)                                                                \
    X(lldpXdot1LocTable)                                                                           \
    X(lldpXdot1LocProtoVlanTable)                                                                  \
    X(lldpXdot1LocVlanNameTable)                                                                   \
    X(lldpXdot1LocProtocolTable)                                                                   \
    X(lldpXdot1RemTable)                                                                           \
    X(lldpXdot1RemProtoVlanTable)                                                                  \
    X(lldpXdot1RemVlanNameTable)                                                                   \
    X(lldpXdot1RemProtocolTable)

LLDP_MIB_MODULE_DECLARATIONS(LldpXdot1MIB, LLDP_XDOT1_MIB_TABLES)
