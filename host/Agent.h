#pragma once
// The embedded net-snmp agent: a standalone agent answering on its own transports, or an AgentX
// subagent of a running master. Configuration comes from one file given by the operator (and
// the agent's own persistent state); nothing is read from the system's SNMP configuration.
#include "host/MasterLink.h"

#include <memory>
#include <string>
#include <vector>

namespace LldpSnmpd {

struct AgentOptions {
    // Standalone transports (net-snmp syntax); empty: agentaddress from the file, else the
    // default.
    std::vector<std::string> listen;
    bool agentx = false;
    std::string agentxSocket;  // empty: net-snmp's default
    std::string configFile;    // empty: community "public", read-only, from 127.0.0.1 only
    std::string persistentDir; // empty: $STATE_DIRECTORY, installedPersistentDir if it exists,
                               // else the private directory, removed when the agent goes
    std::string debugTokens;   // net-snmp debug tokens ("" for none)
    bool syslog = false;       // log to syslog (facility daemon) as well as to standard error
};

inline constexpr const char* appName = "lldp-snmpd";
#ifndef LLDPSNMPD_PERSISTENT_DIR
#define LLDPSNMPD_PERSISTENT_DIR "/var/lib/lldp-snmpd"
#endif
inline constexpr const char* installedPersistentDir = LLDPSNMPD_PERSISTENT_DIR;
inline constexpr const char* defaultListen = "udp:127.0.0.1:1161";
// How often a subagent checks on its master, and retries while it has none.
inline constexpr int agentxPingSeconds = 5;

// Where the agent keeps its persistent state: the option, else the default; "" when only a
// private directory (removed at exit) is left.
std::string persistentDirOf(const AgentOptions& options);

class Agent {
public:
    explicit Agent(AgentOptions options);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // Before the MIB modules register: net-snmp's settings, init_agent, the agent's own MIB
    // groups and configuration directives. Throws std::runtime_error.
    void prepare();
    // Reads the configuration and opens the transports (or the master connection).
    // Throws std::runtime_error when the agent cannot serve.
    void start();
    // Writes the persistent state and closes everything; the MIB modules unregister before.
    void stop();

    bool isSubagent() const noexcept { return options_.agentx; }
    // In the AgentX role, after each round of the event loop: registers the subtrees waiting
    // for the master, and logs once when the master goes away and once when it is back.
    void watchMasterConnection();
    // In the AgentX role, closes the session with the master before the modules unregister.
    void detachFromMaster();

private:
    AgentOptions options_;
    std::string privateDir_;
    bool started_ = false;
    std::unique_ptr<MasterLink> master_;
};

} // namespace LldpSnmpd
