// lldp-snmpd: serves the LLDP agent's state over SNMP, standalone or as an AgentX subagent.
#include "host/Agent.h"
#include "host/CommandLine.h"
#include "host/EventLoop.h"
#include "host/LldpService.h"
#include "host/Log.h"
#include "host/NotificationConfig.h"
#include "host/SystemGroup.h"
#include "state/StateParser.h"
#include "state/StateWriter.h"

#include "platform/snmp/Conversions.h"
#include "platform/zim/Clock.h"
#include "platform/zim/Jotlog.h"

#include <systemd/sd-daemon.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <optional>
#include <sstream>

namespace LldpSnmpd {

namespace {

void dumpJotlog() {
    std::ostringstream text;
    Jotlog::dump(text);
    const auto records = Jotlog::records().size();
    logInfo("Jotlog: " + std::to_string(records) + " records, oldest first");
    std::istringstream lines(text.str());
    for (std::string line; std::getline(lines, line);) {
        logInfo("Jotlog: " + line);
    }
}

// Numbers given to interfaces whose ifIndex no port number can hold are kept beside net-snmp's
// persistent state, when the operator chose where that lives.
std::string portNumbersFile(const Options& options) {
    const std::string dir = persistentDirOf(options.agent);
    return dir.empty() ? std::string() : dir + "/lldpd-port-numbers";
}

int dumpState(const Options& options) {
    StateDoc doc;
    if (options.lldpdSocket) {
        PortNumbers numbers(portNumbersFile(options));
        LldpdSource source(*options.lldpdSocket, numbers);
        try {
            doc = source.readOnce();
        } catch (const LldpdError& e) {
            logError(e.what());
            return 1;
        }
    } else {
        try {
            doc = loadStateFile(options.stateFile);
        } catch (const StateError& e) {
            logError("refusing state file " + options.stateFile + ": " + e.path() + ": " +
                     e.reason());
            return 1;
        }
    }
    std::cout << stateText(doc) << std::flush;
    return 0;
}

int run(const Options& options) {
    if (options.dumpState) {
        return dumpState(options);
    }

    // Handlers first: a stop requested while starting is honoured once the loop runs.
    EventLoop loop;
    declareDefaultNotifications();
    Agent agent(options.agent);
    agent.prepare();

    // Exactly one source. A state file must be valid at start; lldpd may come later.
    auto service = options.lldpdSocket ? std::make_unique<LldpService>(LldpService::Lldpd{
                                             *options.lldpdSocket, portNumbersFile(options)})
                                       : std::make_unique<LldpService>(options.stateFile);
    if (!service->start()) {
        return 1;
    }
    std::optional<SystemGroup> systemGroup;
    if (!agent.isSubagent()) {
        systemGroup.emplace(service->store().localSystem());
    }
    // Time stamps count from here; a subagent moves this to its master's start as soon as the
    // master tells its sysUpTime, which may be while the session opens in start().
    Snmp::agentStartTimeIs(Zim::now());
    agent.start();
    sd_notify(0, "READY=1");

    sendQueuedNotifications();
    if (service->fd() >= 0) {
        loop.readHandlerIs(service->fd(), [&] { service->onReadable(); });
    }
    loop.onHangupIs([&] { service->reload(); });
    loop.onUser1Is(dumpJotlog);
    loop.afterIterationIs([&] {
        sendQueuedNotifications();
        agent.watchMasterConnection();
    });
    const int signal = loop.run();

    logInfo(std::string("stopping on ") + (signal == SIGINT ? "SIGINT" : "SIGTERM"));
    sd_notify(0, "STOPPING=1");
    // A master stopping at the same moment must not be waited on while the modules unregister.
    agent.detachFromMaster();
    service->stop();
    systemGroup.reset();
    agent.stop();
    return 0;
}

} // namespace

} // namespace LldpSnmpd

int main(int argc, char** argv) {
    auto commandLine = LldpSnmpd::parseCommandLine(argc, argv);
    if (!commandLine.options) {
        return commandLine.exitCode;
    }
    try {
        return LldpSnmpd::run(*commandLine.options);
    } catch (const std::exception& e) {
        LldpSnmpd::logError(e.what());
        return 1;
    }
}
