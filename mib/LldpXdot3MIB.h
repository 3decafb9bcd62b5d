#pragma once
// LLDP-EXT-DOT3-MIB: the IEEE 802.3 extension tables (MAC/PHY, power via MDI, link
// aggregation, maximum frame size).
#include "platform/zim/String8.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

int init_LldpXdot3MIB(Zim::String8 context);
void unregister_LldpXdot3MIB(Zim::String8 context);

void initialize_table_lldpXdot3PortConfigTable(Zim::String8 context);
void initialize_table_lldpXdot3LocLinkAggTable(Zim::String8 context);
void initialize_table_lldpXdot3LocMaxFrameSizeTable(Zim::String8 context);
void initialize_table_lldpXdot3RemPortTable(Zim::String8 context);
void initialize_table_lldpXdot3RemPowerTable(Zim::String8 context);
void initialize_table_lldpXdot3RemLinkAggTable(Zim::String8 context);
void initialize_table_lldpXdot3RemMaxFrameSizeTable(Zim::String8 context);

Netsnmp_Node_Handler lldpXdot3PortConfigTable_handler;
Netsnmp_Node_Handler lldpXdot3LocLinkAggTable_handler;
Netsnmp_Node_Handler lldpXdot3LocMaxFrameSizeTable_handler;
Netsnmp_Node_Handler lldpXdot3RemPortTable_handler;
Netsnmp_Node_Handler lldpXdot3RemPowerTable_handler;
Netsnmp_Node_Handler lldpXdot3RemLinkAggTable_handler;
Netsnmp_Node_Handler lldpXdot3RemMaxFrameSizeTable_handler;
