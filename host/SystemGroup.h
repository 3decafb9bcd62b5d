#pragma once
// The standalone agent's sysName, sysDescr and sysServices say what LLDP says the device is:
// managers that classify a device from the system group then agree with its LLDP neighbours.
// Values set in the configuration file (sysname, sysdescr, sysservices) win; without them the
// objects follow the LLDP local system, read at every request so they change with the state.
// The rest of the system group (sysContact, sysLocation, sysObjectID, sysUpTime, sysORTable)
// stays net-snmp's own.
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/Values.h"

#include <optional>
#include <string>

namespace LldpSnmpd {

// sysServices' layer bits for the enabled capabilities: repeater 1, bridge, WLAN access point and
// DOCSIS cable device 2, router 3, telephone and station 4 and 7; none (or only "other") gives
// net-snmp's host default, 72 (layers 4 and 7).
int sysServicesOf(const Lldp::SystemCapabilitiesMap& enabled);

class SystemGroup {
public:
    // After net-snmp's system group is initialised and before the configuration is read: takes
    // over the sysname, sysdescr and sysservices directives.
    static void takeOverDirectives();
    // After the configuration is read: replaces net-snmp's three objects by ours.
    explicit SystemGroup(Zim::Ptr<Lldp::LocalSystem> localSystem);
    ~SystemGroup();
    SystemGroup(const SystemGroup&) = delete;
    SystemGroup& operator=(const SystemGroup&) = delete;

    std::string sysName() const;
    std::string sysDescr() const;
    int sysServices() const;

private:
    Zim::Ptr<Lldp::LocalSystem> localSystem_;
};

} // namespace LldpSnmpd
