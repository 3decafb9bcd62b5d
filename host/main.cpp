// lldp-snmpd: serves the LLDP agent's state over SNMP, standalone or as an AgentX subagent.
#include "host/Agent.h"
#include "host/CommandLine.h"
#include "host/EventLoop.h"
#include "host/LldpGlue.h"
#include "host/Log.h"
#include "host/NotificationConfig.h"
#include "host/SystemGroup.h"
#include "state/StateApplier.h"
#include "state/StateFile.h"
#include "state/StateStore.h"

#include "mib/LldpMIB.h"
#include "mib/LldpXdot1MIB.h"
#include "mib/LldpXdot3MIB.h"
#include "platform/snmp/Conversions.h"
#include "platform/snmp/HandlerRegistration.h"
#include "platform/snmp/TrapManager.h"
#include "platform/zim/Clock.h"
#include "platform/zim/Jotlog.h"

#include <csignal>
#include <exception>
#include <optional>
#include <sstream>
#include <string_view>

namespace LldpSnmpd {

namespace {

struct ModuleUnregister {
    std::string_view module;
    void (*unregister)(Zim::String8 context);
};

constexpr ModuleUnregister moduleUnregisters[] = {
    {"LldpMIB", unregister_LldpMIB},
    {"LldpXdot1MIB", unregister_LldpXdot1MIB},
    {"LldpXdot3MIB", unregister_LldpXdot3MIB},
};

// Every module in every context it was initialised in; the set shrinks as they go.
void unregisterModules() {
    const auto served = Snmp::mibContexts();
    for (const auto& [context, module] : served) {
        bool known = false;
        for (const auto& m : moduleUnregisters) {
            if (m.module != module.view()) {
                continue;
            }
            m.unregister(context);
            known = true;
        }
        if (!known) {
            logWarning("no way to unregister module " + module.str());
        }
    }
}

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

int run(const Options& options) {
    // Handlers first: a stop requested while starting is honoured once the loop runs.
    EventLoop loop;
    declareDefaultNotifications();
    Agent agent(options.agent);
    agent.prepare();

    StateStore store;
    StateApplier applier(store);
    StateFile stateFile(options.stateFile, applier);
    if (!stateFile.load()) {
        return 1;
    }
    stateFile.watch();

    // The mirror follows the agent's entities from here on; the interfaces applied so far are
    // handed to it in port order.
    LldpGlue glue(store);
    for (const auto& e : applier.interfacesByPort()) {
        glue.interfaceIs(e.name, e.port, e.portConfig, e.portStatus, e.localPort);
    }
    applier.glueIs(&glue);

    for (auto* registration : Snmp::handlerRegistrations()) {
        registration->initHandler("");
    }
    std::optional<SystemGroup> systemGroup;
    if (!agent.isSubagent()) {
        systemGroup.emplace(store.localSystem());
    }
    agent.start();
    Snmp::agentStartTimeIs(Zim::now());

    auto trapManager = Snmp::TrapManager::instance();
    trapManager->flush();
    loop.readHandlerIs(stateFile.fd(), [&] { stateFile.onReadable(); });
    loop.onHangupIs([&] { stateFile.load(); });
    loop.onUser1Is(dumpJotlog);
    loop.afterIterationIs([&] {
        trapManager->flush();
        agent.watchMasterConnection();
    });
    const int signal = loop.run();

    logInfo(std::string("stopping on ") + (signal == SIGINT ? "SIGINT" : "SIGTERM"));
    unregisterModules();
    trapManager->flush();
    applier.glueIs(nullptr);
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
