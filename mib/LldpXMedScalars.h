#pragma once
// LLDP-EXT-MED-MIB's scalars (the configuration, the local inventory and the local extended
// power) and its notification, lldpXMedTopologyChangeDetected.
#include "mib/Module.h"
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/RemoteSystem.h"
#include "platform/zim/String8.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

// The module's bookkeeping and trace handle, shared by its scalars and its tables.
LldpMibFrame::Module& lldpXMedModule();

// The module's first registration step: every scalar, in the default context only.
void registerLldpXMedScalars(Zim::String8 context);

Netsnmp_Node_Handler handle_lldpXMedLocDeviceClass;
Netsnmp_Node_Handler handle_lldpXMedFastStartRepeatCount;
Netsnmp_Node_Handler handle_lldpXMedLocHardwareRev;
Netsnmp_Node_Handler handle_lldpXMedLocFirmwareRev;
Netsnmp_Node_Handler handle_lldpXMedLocSoftwareRev;
Netsnmp_Node_Handler handle_lldpXMedLocSerialNum;
Netsnmp_Node_Handler handle_lldpXMedLocMfgName;
Netsnmp_Node_Handler handle_lldpXMedLocModelName;
Netsnmp_Node_Handler handle_lldpXMedLocAssetID;
Netsnmp_Node_Handler handle_lldpXMedLocXPoEDeviceType;
Netsnmp_Node_Handler handle_lldpXMedLocXPoEPSEPowerSource;
Netsnmp_Node_Handler handle_lldpXMedLocXPoEPDPowerReq;
Netsnmp_Node_Handler handle_lldpXMedLocXPoEPDPowerSource;
Netsnmp_Node_Handler handle_lldpXMedLocXPoEPDPowerPriority;

namespace Snmp {
int lldpXMedTopologyChangeDetectedNotify(const Lldp::RemoteSystem& neighbour,
                                         Interface::EthPortId port, int32_t index,
                                         Zim::String8 context);
}
