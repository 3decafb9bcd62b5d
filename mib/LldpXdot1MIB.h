#pragma once
// LLDP-EXT-DOT1-MIB: the IEEE 802.1 extension tables (port VLAN, protocol VLANs, VLAN names,
// protocol identities).
#include "platform/zim/String8.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

int init_LldpXdot1MIB(Zim::String8 context);
void unregister_LldpXdot1MIB(Zim::String8 context);

void initialize_table_lldpXdot1ConfigPortVlanTable(Zim::String8 context);
void initialize_table_lldpXdot1LocTable(Zim::String8 context);
void initialize_table_lldpXdot1RemTable(Zim::String8 context);
void initialize_table_lldpXdot1RemProtoVlanTable(Zim::String8 context);
void initialize_table_lldpXdot1RemVlanNameTable(Zim::String8 context);
void initialize_table_lldpXdot1RemProtocolTable(Zim::String8 context);

Netsnmp_Node_Handler lldpXdot1ConfigPortVlanTable_handler;
Netsnmp_Node_Handler lldpXdot1LocTable_handler;
Netsnmp_Node_Handler lldpXdot1RemTable_handler;
Netsnmp_Node_Handler lldpXdot1RemProtoVlanTable_handler;
Netsnmp_Node_Handler lldpXdot1RemVlanNameTable_handler;
Netsnmp_Node_Handler lldpXdot1RemProtocolTable_handler;
