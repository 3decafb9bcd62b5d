#include "host/NotificationConfig.h"

#include "platform/snmp/SnmpUtil.h"

// net-snmp's headers go in this order: configuration, library, agent.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <sstream>

namespace LldpSnmpd {

namespace {

constexpr const char* group = "lldp";
constexpr const char* directive = "lldpNotification";

std::string& configFileName() {
    static std::string name;
    return name;
}

Zim::Ptr<Snmp::NotificationGroup> lldpGroup() {
    return SnmpUtil::getSnmpConfig()->notificationConfigIs(group);
}

// net-snmp calls this for each lldpNotification line; config_perror names the file and line.
void parseDirective(const char*, char* line) {
    std::istringstream words(line ? line : "");
    std::string name;
    std::string state;
    std::string extra;
    words >> name >> state >> extra;
    auto notification = lldpGroup()->notification(name);
    if (!notification) {
        std::string known;
        for (const auto& [n, ignored] : lldpGroup()->notifications()) {
            known += (known.empty() ? "" : ", ") + n.str();
        }
        config_perror(("unknown notification '" + name + "' (known: " + known + ")").c_str());
        return;
    }
    if ((state != "on" && state != "off") || !extra.empty()) {
        config_perror("usage: lldpNotification NAME on|off");
        return;
    }
    if (state == "on") {
        notification->enabledIs(true);
    } else {
        notification->enabledIs(false, "disabled by lldpNotification in " + configFileName());
    }
}

// Before the configuration is read again, every notification is back on.
void releaseDirective() {
    for (const auto& [name, notification] : lldpGroup()->notifications()) {
        notification->enabledIs(true);
    }
}

} // namespace

void declareDefaultNotifications() {
    lldpGroup()->notificationIs("lldpRemTablesChange");
    lldpGroup()->notificationIs("lldpXMedTopologyChangeDetected");
}

void registerNotificationDirective(std::string configFile) {
    configFileName() = std::move(configFile);
    snmpd_register_config_handler(
        directive, parseDirective, releaseDirective,
        "NAME on|off (NAME: lldpRemTablesChange, lldpXMedTopologyChangeDetected)");
}

} // namespace LldpSnmpd
