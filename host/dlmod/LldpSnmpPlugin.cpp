// lldpsnmp.so: the LLDP MIB modules inside the system's snmpd, loaded with
//   dlmod lldpsnmp /usr/lib/<multiarch>/lldp-snmp/lldpsnmp.so
//   lldpStateFile /etc/lldp-snmpd/state.json
// The state is applied once snmpd has read its whole configuration; the state file is then
// watched from snmpd's own select loop and notifications go to snmpd's sinks.
#include "host/LldpService.h"
#include "host/Log.h"
#include "host/NotificationConfig.h"

#include "platform/snmp/Conversions.h"
#include "platform/zim/Clock.h"

// net-snmp's headers go in this order: configuration, library, agent.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <exception>
#include <memory>
#include <string>

namespace LldpSnmpd {

namespace {

constexpr const char* stateFileDirective = "lldpStateFile";

struct Plugin {
    std::string stateFile; // as configured; empty: not (yet) configured
    std::unique_ptr<LldpService> service;
};

Plugin& plugin() {
    static Plugin instance;
    return instance;
}

void parseStateFile(const char*, char* line) {
    plugin().stateFile = line ? line : "";
}

void onStateReadable(int, void*) {
    if (plugin().service) {
        plugin().service->onReadable();
    }
}

void stopService() {
    auto& p = plugin();
    if (!p.service) {
        return;
    }
    if (p.service->fd() >= 0) {
        unregister_readfd(p.service->fd());
    }
    p.service.reset();
}

// After every reading of snmpd's configuration (start, SIGHUP): serves the configured file, or
// applies it again when it is the one already served.
int afterConfig(int, int, void*, void*) {
    auto& p = plugin();
    if (p.service && p.service->stateFile() == p.stateFile) {
        p.service->reload();
        return SNMPERR_SUCCESS;
    }
    stopService();
    if (p.stateFile.empty()) {
        logError(std::string("no ") + stateFileDirective +
                 " in snmpd's configuration: the LLDP MIBs are not served");
        return SNMPERR_SUCCESS;
    }
    // Our time stamps count from snmpd's start, as its sysUpTime does.
    Snmp::agentStartTimeIs(Zim::now() - netsnmp_get_agent_uptime() / 100.0);
    auto service = std::make_unique<LldpService>(p.stateFile);
    try {
        if (!service->start()) {
            logError("the LLDP MIBs are not served until " + p.stateFile +
                     " is valid and snmpd reads its configuration again");
            return SNMPERR_SUCCESS;
        }
    } catch (const std::exception& e) {
        logError(e.what());
        return SNMPERR_SUCCESS;
    }
    register_readfd(service->fd(), onStateReadable, nullptr);
    sendQueuedNotifications();
    logInfo("serving the LLDP MIBs from " + p.stateFile);
    p.service = std::move(service);
    return SNMPERR_SUCCESS;
}

} // namespace

} // namespace LldpSnmpd

// The entry points snmpd's dlmod looks up: init_<name> and deinit_<name>.
extern "C" {

void init_lldpsnmp(void) {
    using namespace LldpSnmpd;
    declareDefaultNotifications();
    registerNotificationDirective("snmpd's configuration");
    snmpd_register_config_handler(stateFileDirective, parseStateFile, nullptr,
                                  "PATH (the LLDP state as JSON, see lldp-snmpd-state(5))");
    snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, afterConfig,
                           nullptr);
}

void deinit_lldpsnmp(void) {
    using namespace LldpSnmpd;
    snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, afterConfig,
                             nullptr, 1);
    stopService();
    plugin().stateFile.clear();
    snmpd_unregister_config_handler(stateFileDirective);
    snmpd_unregister_config_handler("lldpNotification");
}
}
