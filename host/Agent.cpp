#include "host/Agent.h"

#include "host/Log.h"
#include "host/NotificationConfig.h"
#include "host/SystemGroup.h"

// net-snmp's headers go in this order: configuration, library, agent.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

// net-snmp's own MIB groups and state; their headers are not installed.
extern "C" {
void init_vacm_conf(void);
void init_vacm_vars(void);
void init_usmUser(void);
void init_system_mib(void);
void init_snmpEngine(void);
}

namespace LldpSnmpd {

namespace {

std::string newPrivateDir() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/lldp-snmpd.XXXXXX";
    if (!mkdtemp(pattern.data())) {
        throw std::runtime_error("cannot make a private directory " + pattern + ": " +
                                 std::strerror(errno));
    }
    return pattern;
}

// The persistent directory when none is given: the one systemd made for the service
// (StateDirectory= sets STATE_DIRECTORY, first entry), else the installed default when it exists.
// Without either, the engine ID and boots last only as long as the process.
std::string defaultPersistentDir() {
    if (const char* fromSystemd = std::getenv("STATE_DIRECTORY"); fromSystemd && *fromSystemd) {
        const std::string dirs = fromSystemd;
        return dirs.substr(0, dirs.find(':'));
    }
    std::error_code ignored;
    if (std::filesystem::is_directory(installedPersistentDir, ignored)) {
        return installedPersistentDir;
    }
    return {};
}

} // namespace

std::string persistentDirOf(const AgentOptions& options) {
    return options.persistentDir.empty() ? defaultPersistentDir() : options.persistentDir;
}

namespace {

std::string joined(const std::vector<std::string>& items) {
    std::string out;
    for (const auto& item : items) {
        out += (out.empty() ? "" : ",") + item;
    }
    return out;
}

} // namespace

Agent::Agent(AgentOptions options) : options_(std::move(options)) {}

Agent::~Agent() {
    if (started_) {
        stop();
    }
    if (!privateDir_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(privateDir_, ignored);
    }
}

void Agent::prepare() {
    snmp_enable_stderrlog();
    if (options_.syslog) {
        snmp_enable_syslog_ident(appName, LOG_DAEMON);
    }
    if (!options_.debugTokens.empty()) {
        debug_register_tokens(options_.debugTokens.c_str());
        snmp_set_do_debugging(1);
    }

    // The configuration path holds only the agent's persistent state, so the system's and the
    // user's SNMP files are never read; the operator's file comes in as the optional one.
    privateDir_ = newPrivateDir();
    std::string stateDir = persistentDirOf(options_);
    if (stateDir.empty()) {
        stateDir = privateDir_;
    } else {
        logInfo("persistent state (engine ID, boots, users) in " + stateDir);
    }
    // net-snmp makes it, and says so, at start otherwise.
    std::error_code ignored;
    std::filesystem::create_directory(stateDir + "/cert_indexes", ignored);
    setenv("SNMPCONFPATH", stateDir.c_str(), 1);
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_CONFIGURATION_DIR,
                          stateDir.c_str());
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_PERSISTENT_DIR, stateDir.c_str());
    // Without a file of the operator's, a file of ours grants the one default access, so that
    // it is in place when net-snmp checks, after reading, that some access exists.
    // A subagent has no access of its own to grant: its master decides.
    std::string configFile = options_.configFile;
    if (configFile.empty() && !options_.agentx) {
        configFile = privateDir_ + "/default-access.conf";
        std::ofstream(configFile) << "rocommunity public 127.0.0.1\n";
    }
    if (!configFile.empty()) {
        netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG,
                              configFile.c_str());
    }
    // No MIB files are needed to serve; an operator who wants names in the file sets MIBS.
    setenv("MIBS", "", 0);
    // Alarms run from the event loop, not from SIGALRM.
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);

    // One log line per request would drown everything else.
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID,
                           NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE,
                           options_.agentx ? 1 : 0); // 1: subagent
    if (options_.agentx) {
        if (!options_.agentxSocket.empty()) {
            netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET,
                                  options_.agentxSocket.c_str());
        }
        // net-snmp would warn at every retry; watchMasterConnection reports the changes once.
        netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS,
                               1);
    }

    // SMUX would listen on TCP port 199 on its own; nothing here speaks it.
    char noSmux[] = "-smux";
    add_to_init_list(noSmux);
    if (init_agent(appName) != 0) {
        throw std::runtime_error("net-snmp's init_agent failed");
    }
    if (options_.agentx) {
        // After init_agent, which sets net-snmp's own default; agentxPingInterval in the
        // configuration file still overrides it.
        netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL,
                           agentxPingSeconds);
        // Before the configuration is read, when the first session opens.
        master_ = std::make_unique<MasterLink>(
            options_.agentxSocket.empty() ? "the default AgentX socket" : options_.agentxSocket);
    } else {
        // A standalone agent does its own access control (communities, users, views) and
        // answers for its own system group and engine; a subagent leaves all that to its master.
        init_vacm_conf();
        init_vacm_vars();
        init_usmUser();
        init_system_mib();
        SystemGroup::takeOverDirectives();
        // snmpEngineID, boots and time: what SNMPv3 managers and notification receivers key on.
        init_snmpEngine();
    }
    registerNotificationDirective(options_.configFile);
}

void Agent::start() {
    init_snmp(appName);
    started_ = true;
    if (options_.agentx) {
        watchMasterConnection();
        return;
    }
    if (!options_.listen.empty()) {
        netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS,
                              joined(options_.listen).c_str());
    } else if (!netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS)) {
        netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, defaultListen);
    }
    const char* ports = netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS);
    if (init_master_agent() != 0) {
        throw std::runtime_error(std::string("cannot listen on ") + (ports ? ports : "?"));
    }
    logInfo(std::string("answering SNMP on ") + (ports ? ports : "?") +
            (options_.configFile.empty()
                 ? " (community public, read-only, from 127.0.0.1)"
                 : " (access as configured in " + options_.configFile + ")"));
}

void Agent::stop() {
    if (!started_) {
        return;
    }
    started_ = false;
    detachFromMaster();
    snmp_shutdown(appName);
    shutdown_master_agent();
    shutdown_agent();
}

void Agent::watchMasterConnection() {
    if (master_) {
        master_->watch();
    }
}

void Agent::detachFromMaster() {
    if (master_) {
        master_->detach();
    }
}

} // namespace LldpSnmpd
