#include "host/Log.h"

#include "platform/zim/LogHandle.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace LldpSnmpd {

namespace {
void logAt(int priority, const std::string& text) {
    snmp_log(priority, "lldp-snmpd: %s\n", text.c_str());
}
} // namespace

void installPlatformLog() {
    Zim::logSinkIs([](const Zim::LogHandle& handle, const std::string& text) {
        // LogSeverity counts as syslog's priorities do.
        logAt(static_cast<int>(handle.severity()), handle.name() + ": " + text);
    });
}

void logError(const std::string& text) {
    logAt(LOG_ERR, text);
}
void logWarning(const std::string& text) {
    logAt(LOG_WARNING, text);
}
void logInfo(const std::string& text) {
    logAt(LOG_INFO, text);
}

} // namespace LldpSnmpd
