#pragma once
// The host's notification configuration: which notification groups exist, and the directive
// with which an operator switches one off in the agent's configuration file:
//     lldpNotification lldpRemTablesChange off
//     lldpNotification lldpXMedTopologyChangeDetected off
#include <string>

namespace LldpSnmpd {

// Declares group "lldp" with its notifications "lldpRemTablesChange" and
// "lldpXMedTopologyChangeDetected", switched on. The plug-in
// refuses to run without it.
void declareDefaultNotifications();

// Registers the lldpNotification directive with net-snmp's configuration reader (after
// init_agent, before init_snmp). configFile names the file in the reason a notification is off.
void registerNotificationDirective(std::string configFile);

} // namespace LldpSnmpd
