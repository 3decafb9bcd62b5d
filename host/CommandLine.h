#pragma once
// The daemon's command line.
#include "host/Agent.h"

#include <optional>
#include <string>

namespace LldpSnmpd {

struct Options {
    AgentOptions agent;
    // Exactly one source: the state file or lldpd's control socket.
    std::string stateFile;
    std::optional<std::string> lldpdSocket;
    bool dumpState = false;
};

struct CommandLine {
    std::optional<Options> options; // empty: exit with exitCode (help, version, usage error)
    int exitCode = 0;
};

// Parses argv and applies the trace settings (--trace, else ZIM_TRACE); prints help, version
// and usage errors itself.
CommandLine parseCommandLine(int argc, char** argv);

} // namespace LldpSnmpd
