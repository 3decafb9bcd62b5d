#pragma once
// The daemon's own log lines go through net-snmp's logging, so they land wherever net-snmp's do
// (standard error unless configured otherwise) and in order with them.
#include <string>

namespace LldpSnmpd {

// Routes the platform's log handles (the plug-in's catalogue) to this log, at their severity.
void installPlatformLog();

void logError(const std::string& text);
void logWarning(const std::string& text);
void logInfo(const std::string& text);

} // namespace LldpSnmpd
