// What the model unit sets up when the library is loaded: its trace handle (on first use), the
// announcement of its types to the framework, and its copy of the LLDP log catalogue.
#include "model/LldpSnmpTrace.h"
#include "platform/zim/LogHandle.h"
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

// Members are built in declaration order: the types are announced before the log handles.
// The LldpMIB unit keeps an identical set of handles on purpose: every unit that includes the
// catalogue contributes its own copy.
struct ModelStatics {
    TypeAnnouncement types;
    Zim::LogHandle neighborNew{
        "LLDP_NEIGHBOR_NEW",
        Zim::LogSeverity::notice,
        "LLDP neighbor with chassisId %s and portId %s added on interface %s",
        "A new LLDP neighbor was added to the neighbor table.",
        Zim::NoActionRequired,
        0.0,
        1.0,
        0};
    Zim::LogHandle neighborTimeout{
        "LLDP_NEIGHBOR_TIMEOUT",
        Zim::LogSeverity::notice,
        "LLDP neighbor with chassisId %s and portId %s timed out on interface %s",
        "An LLDP neighbor was deleted from the neighbor table since it timed out.",
        Zim::NoActionRequired,
        0.0,
        1.0,
        0};
    Zim::LogHandle neighborGone{
        "LLDP_NEIGHBOR_GONE",
        Zim::LogSeverity::notice,
        "Received a shutdown frame from LLDP neighbor with chassisId %s and portId %s on "
        "interface %s",
        "An LLDP neighbor was deleted from the neighbor table since an LLDPDU with a TTL of 0 "
        "was received from that neighbor.",
        Zim::NoActionRequired,
        0.0,
        1.0,
        0};
    Zim::LogHandle rxRateLimit{
        "LLDP_RX_RATELIMIT",
        Zim::LogSeverity::warning,
        "Exceeded Rx LLDPDU rate limit on %s (more than %d LLDPDUs in %f seconds)",
        "The switch received too many LLDPDUs on a port in too short a period of time, so we "
        "dropped the most recent received LLDPDU.",
        "This could indicate a mis-configured neighbor, or a network loop.  Check the "
        "configuration of the neighbor connected to the interface and configure the LLDPDUs to "
        "be sent at a reasonable rate and ensure there are no network loops.",
        60.0,
        1.0,
        0};
    Zim::LogHandle remoteTablesCleared{"LLDP_REMOTE_TABLES_CLEARED",
                                       Zim::LogSeverity::notice,
                                       "LLDP neighbor table cleared by %s on %s",
                                       "The LLDP neighbor table was cleared by a CLI command.",
                                       Zim::NoActionRequired,
                                       0.0,
                                       1.0,
                                       0};
};

const ModelStatics modelStatics;

} // namespace

} // namespace Lldp::Snmp
