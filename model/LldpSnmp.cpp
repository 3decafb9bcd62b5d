// What the model unit sets up when the library is loaded: its trace handle (on first use), the
// announcement of its types to the framework.
#include "model/LldpSnmpTrace.h"
#include "platform/zim/TypeRegistry.h"

namespace Lldp::Snmp {

const Zim::TraceHandle& lldpSnmpTraceHandle() {
    static const Zim::TraceHandle handle("LldpSnmp", false);
    return handle;
}

namespace {

struct TypeAnnouncement {
    TypeAnnouncement() {
        // The framework lists types in announcement order, so the order is kept fixed.
        for (const char* type : {
                 "Lldp::Snmp::LldpSm",
                 "Lldp::Snmp::PortList",
                 "Lldp::Snmp::RemoteUnknownTlv",
                 "Lldp::Snmp::RemoteUnknownTlv::Key",
                 "Lldp::Snmp::RemoteUnknownOrgDefTlv",
                 "Lldp::Snmp::RemoteUnknownOrgDefTlv::Key",
                 "Lldp::Snmp::RemoteSystem",
                 "Lldp::Snmp::RemoteSystem::Key",
                 "Lldp::Snmp::Root",
                 "Lldp::Snmp::PortConfig",
                 "Lldp::Snmp::PortStatus",
                 "Lldp::Snmp::RemoteSystemSm",
                 "Lldp::Snmp::LocalManagementAddress",
                 "Lldp::Snmp::RemoteProtocolIdentityInfo",
                 "Lldp::Snmp::RemoteProtocolIdentityInfo::Key",
                 "Lldp::Snmp::RemoteManagementAddress",
                 "Lldp::Snmp::RemoteManagementAddress::Key",
                 "Lldp::Snmp::LocalPort",
                 "Lldp::Snmp::RemoteVlanName",
                 "Lldp::Snmp::RemoteVlanName::Key",
                 "Lldp::Snmp::PortStatusSm",
                 "Lldp::Snmp::RemotePortAndProtocolVlan",
                 "Lldp::Snmp::RemotePortAndProtocolVlan::Key",
             }) {
            Zim::typeNodeIs(type);
        }
    }
};

const TypeAnnouncement typeAnnouncement;

} // namespace

} // namespace Lldp::Snmp
