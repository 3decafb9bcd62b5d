#pragma once
// The declarations a MIB module's header makes from its list of tables: init_<module> and
// unregister_<module>, which the host calls per context, and each table's
// initialize_table_<table> and <table>_handler.
#include "platform/zim/String8.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#define LLDP_MIB_DECLARE_TABLE(table)                                                              \
    void initialize_table_##table(Zim::String8 context);                                           \
    Netsnmp_Node_Handler table##_handler;

#define LLDP_MIB_MODULE_DECLARATIONS(moduleName, TABLES)                                           \
    int init_##moduleName(Zim::String8 context);                                                   \
    void unregister_##moduleName(Zim::String8 context);                                            \
    TABLES(LLDP_MIB_DECLARE_TABLE)
