#pragma once
// LLDP-MIB: the module's entry points, its scalar and table handlers, and the
// lldpRemTablesChange notification.
#include "platform/zim/String8.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <cstdint>

int init_LldpMIB(Zim::String8 context);
void unregister_LldpMIB(Zim::String8 context);

void initialize_table_lldpPortConfigTable(Zim::String8 context);
void initialize_table_lldpConfigManAddrTable(Zim::String8 context);
void initialize_table_lldpStatsTxPortTable(Zim::String8 context);
void initialize_table_lldpStatsRxPortTable(Zim::String8 context);
void initialize_table_lldpLocPortTable(Zim::String8 context);
void initialize_table_lldpLocManAddrTable(Zim::String8 context);
void initialize_table_lldpRemTable(Zim::String8 context);
void initialize_table_lldpRemManAddrTable(Zim::String8 context);
void initialize_table_lldpRemUnknownTLVTable(Zim::String8 context);
void initialize_table_lldpRemOrgDefInfoTable(Zim::String8 context);

Netsnmp_Node_Handler lldpPortConfigTable_handler;
Netsnmp_Node_Handler lldpConfigManAddrTable_handler;
Netsnmp_Node_Handler lldpStatsTxPortTable_handler;
Netsnmp_Node_Handler lldpStatsRxPortTable_handler;
Netsnmp_Node_Handler lldpLocPortTable_handler;
Netsnmp_Node_Handler lldpLocManAddrTable_handler;
Netsnmp_Node_Handler lldpRemTable_handler;
Netsnmp_Node_Handler lldpRemManAddrTable_handler;
Netsnmp_Node_Handler lldpRemUnknownTLVTable_handler;
Netsnmp_Node_Handler lldpRemOrgDefInfoTable_handler;

Netsnmp_Node_Handler handle_lldpMessageTxInterval;
Netsnmp_Node_Handler handle_lldpMessageTxHoldMultiplier;
Netsnmp_Node_Handler handle_lldpReinitDelay;
Netsnmp_Node_Handler handle_lldpTxDelay;
Netsnmp_Node_Handler handle_lldpNotificationInterval;
Netsnmp_Node_Handler handle_lldpStatsRemTablesLastChangeTime;
Netsnmp_Node_Handler handle_lldpStatsRemTablesInserts;
Netsnmp_Node_Handler handle_lldpStatsRemTablesDeletes;
Netsnmp_Node_Handler handle_lldpStatsRemTablesDrops;
Netsnmp_Node_Handler handle_lldpStatsRemTablesAgeouts;
Netsnmp_Node_Handler handle_lldpLocChassisIdSubtype;
Netsnmp_Node_Handler handle_lldpLocChassisId;
Netsnmp_Node_Handler handle_lldpLocSysName;
Netsnmp_Node_Handler handle_lldpLocSysDesc;
Netsnmp_Node_Handler handle_lldpLocSysCapSupported;
Netsnmp_Node_Handler handle_lldpLocSysCapEnabled;

namespace Snmp {
int lldpRemTablesChangeNotify(uint32_t inserts, uint32_t deletes, uint32_t drops, uint32_t ageouts,
                              Zim::String8 context);
}
