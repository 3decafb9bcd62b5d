#include "host/CommandLine.h"
#include "state/LldpdClient.h"

#include "platform/zim/Trace.h"

#include <CLI/CLI.hpp>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <cstdlib>
#include <iostream>

#ifndef LLDPSNMPD_VERSION
#define LLDPSNMPD_VERSION "unknown"
#endif

namespace LldpSnmpd {

namespace {

constexpr const char* description =
    "lldp-snmpd serves the LLDP agent's state (LLDP-MIB, LLDP-EXT-DOT1-MIB, LLDP-EXT-DOT3-MIB,\n"
    "LLDP-EXT-MED-MIB) over SNMP, read-only: as a standalone agent (--listen) or as an AgentX\n"
    "subagent of a running snmpd (--agentx). The state comes from one of two sources: a JSON\n"
    "file (--state), watched and applied again whenever it changes (a file that fails to parse\n"
    "or validate is refused whole and the state already served stays), or a running lldpd\n"
    "(--lldpd), followed live through its control socket.";

constexpr const char* footer =
    "Access: with --config, the file's net-snmp directives (rocommunity, rouser, createUser,\n"
    "trap2sink, informsink, agentaddress, ...) and 'lldpNotification lldpRemTablesChange off'\n"
    "apply; without it, community 'public' may read from 127.0.0.1 only. No system SNMP\n"
    "configuration is read.\n"
    "Traces: --trace takes NAME[=LEVEL] items separated by commas (levels 0 to 9, '*' for\n"
    "every handle): Snmp (the MIB modules), LldpSnmp (the mirror and its notification),\n"
    "LldpSnmpd (applying the state), e.g. 'LldpSnmp=8,Snmp=2'. The ZIM_TRACE environment\n"
    "variable does the same when --trace is not given.\n"
    "lldpd: its control socket belongs to group _lldpd (mode 0660): run lldp-snmpd as root or\n"
    "in that group. While lldpd is away the last state it gave stays served and lldp-snmpd\n"
    "reconnects by itself. Interfaces are served under their ifIndex; one above 4094 gets a\n"
    "free number below, logged (and kept in --persistent-dir). docs/lldpd-source.md maps every\n"
    "object to what feeds it.\n"
    "Signals: SIGTERM or SIGINT unregister the MIB modules and exit 0; SIGHUP reads the state\n"
    "file (or lldpd) again; SIGUSR1 writes the recent-event ring (Jotlog) to the log.";

} // namespace

CommandLine parseCommandLine(int argc, char** argv) {
    CLI::App app(description, "lldp-snmpd");
    app.footer(footer);
    app.get_formatter()->column_width(34);

    Options options;
    std::string traces;

    auto* listen = app.add_option("--listen", options.agent.listen,
                                  std::string("Standalone: answer on this transport, repeatable\n"
                                              "(default ") +
                                      defaultListen + " or the file's agentaddress)")
                       ->type_name("ADDRESS");
    auto* agentx = app.add_option("--agentx", options.agent.agentxSocket,
                                  "AgentX subagent of the master at SOCKET\n"
                                  "(default /var/agentx/master); reconnects\n"
                                  "when the master restarts")
                       ->type_name("[SOCKET]")
                       ->expected(0, 1);
    app.add_option("--config", options.agent.configFile,
                   "net-snmp agent configuration: access, trap\nsinks, lldpNotification")
        ->type_name("FILE")
        ->check(CLI::ExistingFile.description(""));
    auto* state = app.add_option("--state", options.stateFile,
                                 "The LLDP agent's state as JSON\n(see docs/state-format.md)")
                      ->type_name("FILE");
    std::string lldpdSocket;
    auto* lldpd =
        app.add_option("--lldpd", lldpdSocket,
                       std::string("Follow a running lldpd through its control\n"
                                   "socket (default ") +
                           lldpctl_get_default_transport() + "; group " + lldpdSocketGroup + ")")
            ->type_name("[SOCKET]")
            ->expected(0, 1);
    app.add_flag("--dump-state", options.dumpState,
                 "Print the state document the source gives\n(a state file for --state) and exit");
    app.add_option(
           "--persistent-dir", options.agent.persistentDir,
           "Keep net-snmp's persistent state (engine\nID, boots) here (default: $STATE_DIRECTORY,\n"
           "else " LLDPSNMPD_PERSISTENT_DIR
           " if it\nexists, else a private directory removed\nat exit)")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory.description(""));
    app.add_flag("--syslog", options.agent.syslog,
                 "Log to syslog (facility daemon) as well as\nto standard error");
    app.add_option("--trace", traces, "Trace handles to turn on ('LldpSnmp=8,Snmp=2')")
        ->type_name("TRACES");
    app.add_option("--snmp-debug", options.agent.debugTokens,
                   "net-snmp debug tokens to turn on ('LldpMIB')")
        ->type_name("TOKENS");
    app.set_version_flag("--version",
                         std::string("lldp-snmpd ") + LLDPSNMPD_VERSION + " (net-snmp " +
                             netsnmp_get_version() + ")",
                         "Print the version and exit");

    try {
        app.parse(argc, argv);
        if (agentx->count() > 0 && listen->count() > 0) {
            throw CLI::ValidationError("--listen and --agentx",
                                       "a subagent answers through its master, not on its own");
        }
        if (state->count() + lldpd->count() != 1) {
            throw CLI::ValidationError("state source",
                                       "give exactly one of --state FILE and --lldpd [SOCKET]");
        }
    } catch (const CLI::ParseError& e) {
        // Help and version exit 0; every usage error exits 2, as the man page says.
        return {std::nullopt, app.exit(e) == 0 ? 0 : 2};
    }
    options.agent.agentx = agentx->count() > 0;
    if (lldpd->count() > 0) {
        options.lldpdSocket = lldpdSocket.empty() ? lldpctl_get_default_transport() : lldpdSocket;
    }

    std::string source = "--trace";
    if (app.count("--trace") == 0) {
        const char* env = std::getenv("ZIM_TRACE");
        traces = env ? env : "";
        source = "ZIM_TRACE";
    }
    if (auto error = Zim::traceSettingsIs(traces); !error.empty()) {
        std::cerr << "lldp-snmpd: " << source << ": " << error << "\n";
        return {std::nullopt, 2};
    }
    return {options, 0};
}

} // namespace LldpSnmpd
