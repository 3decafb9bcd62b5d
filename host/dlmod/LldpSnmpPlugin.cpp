// lldpsnmp.so: the LLDP MIB modules inside the system's snmpd, loaded with
//   dlmod lldpsnmp /usr/lib/<multiarch>/lldp-snmp/lldpsnmp.so
//   lldpStateFile /etc/lldp-snmpd/state.json      (or: lldpLldpdSocket /run/lldpd.socket)
// The state is applied once snmpd has read its whole configuration; the state file, or lldpd,
// is then followed from snmpd's own select loop and alarms, and notifications go to snmpd's
// sinks.
#include "host/LldpService.h"
#include "host/Log.h"
#include "host/NotificationConfig.h"

#include "platform/snmp/Conversions.h"
#include "platform/zim/Clock.h"

// net-snmp's headers go in this order: configuration, library, agent.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <lldpctl.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace LldpSnmpd {

namespace {

constexpr const char* stateFileDirective = "lldpStateFile";
constexpr const char* lldpdSocketDirective = "lldpLldpdSocket";

struct Plugin {
    // As configured; empty: not (yet) configured. An lldpLldpdSocket line without a path
    // names lldpd's default socket.
    std::string stateFile;
    std::optional<std::string> lldpdSocket;
    std::unique_ptr<LldpService> service;
};

Plugin& plugin() {
    static Plugin instance;
    return instance;
}

void parseStateFile(const char*, char* line) {
    plugin().stateFile = line ? line : "";
}

void parseLldpdSocket(const char*, char* line) {
    plugin().lldpdSocket = line && *line ? line : lldpctl_get_default_transport();
}

// Interfaces whose ifIndex no port number can hold keep the numbers given to them beside snmpd's
// own persistent state.
std::string portNumbersFile() {
    const char* dir = get_persistent_directory();
    return dir && *dir ? std::string(dir) + "/lldpd-port-numbers" : std::string();
}

// The service for what the configuration names, or null (logged) when it names no single
// source.
std::unique_ptr<LldpService> configuredService() {
    const auto& p = plugin();
    if (p.lldpdSocket && !p.stateFile.empty()) {
        logError(std::string("both ") + stateFileDirective + " and " + lldpdSocketDirective +
                 " in snmpd's configuration: keep one; the LLDP MIBs are not served");
        return nullptr;
    }
    if (p.lldpdSocket) {
        return std::make_unique<LldpService>(LldpService::Lldpd{*p.lldpdSocket, portNumbersFile()});
    }
    if (p.stateFile.empty()) {
        logError(std::string("neither ") + stateFileDirective + " nor " + lldpdSocketDirective +
                 " in snmpd's configuration: the LLDP MIBs are not served");
        return nullptr;
    }
    return std::make_unique<LldpService>(p.stateFile);
}

// What the service follows, as the log names it.
std::string sourceName(const LldpService& service) {
    const auto socket = service.lldpdSocket();
    return socket ? "lldpd at " + *socket : service.stateFile();
}

bool sameSource(const LldpService& service, const Plugin& p) {
    return p.lldpdSocket ? service.lldpdSocket() == p.lldpdSocket && p.stateFile.empty()
                         : !service.lldpdSocket() && service.stateFile() == p.stateFile;
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

// After every reading of snmpd's configuration (start, SIGHUP): serves the configured source,
// or reads it again when it is the one already served.
int afterConfig(int, int, void*, void*) {
    auto& p = plugin();
    if (p.service && sameSource(*p.service, p)) {
        p.service->reload();
        return SNMPERR_SUCCESS;
    }
    stopService();
    // Our time stamps count from snmpd's start, as its sysUpTime does.
    Snmp::agentStartTimeIs(Zim::now() - netsnmp_get_agent_uptime() / 100.0);
    auto service = configuredService();
    if (!service) {
        return SNMPERR_SUCCESS;
    }
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
    if (service->fd() >= 0) {
        register_readfd(service->fd(), onStateReadable, nullptr);
    }
    sendQueuedNotifications();
    logInfo("serving the LLDP MIBs from " + sourceName(*service));
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
    snmpd_register_config_handler(lldpdSocketDirective, parseLldpdSocket, nullptr,
                                  "[PATH] (follow a running lldpd at its control socket)");
    snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, afterConfig,
                           nullptr);
}

void deinit_lldpsnmp(void) {
    using namespace LldpSnmpd;
    snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, afterConfig,
                             nullptr, 1);
    stopService();
    plugin().stateFile.clear();
    plugin().lldpdSocket.reset();
    snmpd_unregister_config_handler(stateFileDirective);
    snmpd_unregister_config_handler(lldpdSocketDirective);
    snmpd_unregister_config_handler("lldpNotification");
}
}
