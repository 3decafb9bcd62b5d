// bench-reference-agent: the yardstick for lldp-snmpd's remote-systems table.
//
// A minimal net-snmp agent serving N generated rows at the lldpRemTable OID
// (1.0.8802.1.1.2.1.4.1) from net-snmp's table_tdata helper, the helper net-snmp offers for
// static data: rows live in its sorted container, indexes are pre-encoded, and lookups are
// binary searches. Index and columns have the lldpRemTable's shape:
//   index   lldpRemTimeMark (TimeTicks), lldpRemLocalPortNum (INTEGER), lldpRemIndex (INTEGER)
//   4  lldpRemChassisIdSubtype  INTEGER       8  lldpRemPortDesc         OCTET STRING
//   5  lldpRemChassisId         OCTET STRING  9  lldpRemSysName          OCTET STRING
//   6  lldpRemPortIdSubtype     INTEGER      10  lldpRemSysDesc          OCTET STRING
//   7  lldpRemPortId            OCTET STRING 11  lldpRemSysCapSupported  BITS (OCTET STRING)
//                                            12  lldpRemSysCapEnabled    BITS (OCTET STRING)
// Row k (0-based) of N sits on port k % ports + 1 with index k / ports + 1 and time mark 0; its
// values are the ones bench_walk.py writes into the daemon's state file for neighbour k, so
// both agents answer with varbinds of the same sizes.
//
// It answers SNMPv1/v2c with community "public" from 127.0.0.1 only, reads no system SNMP
// configuration, keeps its persistent state in a private directory it removes, and stops on
// SIGTERM or SIGINT, when its parent goes away, or after --lifetime seconds.

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

// net-snmp's access-control MIB groups; their headers are not installed.
extern "C" {
void init_vacm_conf(void);
void init_vacm_vars(void);
}

namespace {

constexpr const char* appName = "bench-reference-agent";

// 1.0.8802.1.1.2.1.4.1: LLDP-MIB lldpRemTable.
const oid remTableOid[] = {1, 0, 8802, 1, 1, 2, 1, 4, 1};

constexpr unsigned columnChassisIdSubtype = 4;
constexpr unsigned columnChassisId = 5;
constexpr unsigned columnPortIdSubtype = 6;
constexpr unsigned columnPortId = 7;
constexpr unsigned columnPortDesc = 8;
constexpr unsigned columnSysName = 9;
constexpr unsigned columnSysDesc = 10;
constexpr unsigned columnSysCapSupported = 11;
constexpr unsigned columnSysCapEnabled = 12;

struct RemEntry {
    long chassisIdSubtype = 4; // macAddress
    std::string chassisId;
    long portIdSubtype = 5; // interfaceName
    std::string portId;
    std::string portDesc;
    std::string sysName;
    std::string sysDesc;
    std::string sysCapSupported;
    std::string sysCapEnabled;
};

volatile std::sig_atomic_t stopRequested = 0;

void onSignal(int) {
    stopRequested = 1;
}

void onLifetimeOver(unsigned int, void*) {
    stopRequested = 1;
}

// The values bench_walk.py gives neighbour k (keep the two in step).
RemEntry makeEntry(unsigned long k, unsigned long ports) {
    const unsigned long port = k % ports + 1;
    const unsigned long index = k / ports + 1;
    RemEntry e;
    const unsigned char mac[6] = {0x02,
                                  0x00,
                                  static_cast<unsigned char>(k >> 24 & 0xff),
                                  static_cast<unsigned char>(k >> 16 & 0xff),
                                  static_cast<unsigned char>(k >> 8 & 0xff),
                                  static_cast<unsigned char>(k & 0xff)};
    e.chassisId.assign(reinterpret_cast<const char*>(mac), sizeof mac);
    e.portId = "Ethernet" + std::to_string(index) + "/1";
    e.portDesc = "uplink to leaf1 Ethernet" + std::to_string(port);
    char name[32];
    std::snprintf(name, sizeof name, "nbr%06lu", k);
    e.sysName = name;
    e.sysDesc = "bench neighbour system";
    // BITS: bit n is the (n % 8)-th most significant bit of octet n / 8.
    // Supported: bridge(2), router(4); enabled: bridge(2).
    e.sysCapSupported = std::string("\x28\x00", 2);
    e.sysCapEnabled = std::string("\x20\x00", 2);
    return e;
}

void setString(netsnmp_variable_list* var, const std::string& value) {
    snmp_set_var_typed_value(var, ASN_OCTET_STR, reinterpret_cast<const u_char*>(value.data()),
                             value.size());
}

int handleRemTable(netsnmp_mib_handler*, netsnmp_handler_registration*,
                   netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    if (reqinfo->mode != MODE_GET)
        return SNMP_ERR_NOERROR;
    for (netsnmp_request_info* request = requests; request; request = request->next) {
        if (request->processed)
            continue;
        auto* entry = static_cast<RemEntry*>(netsnmp_tdata_extract_entry(request));
        netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
        if (!entry || !info) {
            netsnmp_set_request_error(reqinfo, request, SNMP_NOSUCHINSTANCE);
            continue;
        }
        netsnmp_variable_list* var = request->requestvb;
        switch (info->colnum) {
        case columnChassisIdSubtype:
            snmp_set_var_typed_integer(var, ASN_INTEGER, entry->chassisIdSubtype);
            break;
        case columnChassisId:
            setString(var, entry->chassisId);
            break;
        case columnPortIdSubtype:
            snmp_set_var_typed_integer(var, ASN_INTEGER, entry->portIdSubtype);
            break;
        case columnPortId:
            setString(var, entry->portId);
            break;
        case columnPortDesc:
            setString(var, entry->portDesc);
            break;
        case columnSysName:
            setString(var, entry->sysName);
            break;
        case columnSysDesc:
            setString(var, entry->sysDesc);
            break;
        case columnSysCapSupported:
            setString(var, entry->sysCapSupported);
            break;
        case columnSysCapEnabled:
            setString(var, entry->sysCapEnabled);
            break;
        default:
            netsnmp_set_request_error(reqinfo, request, SNMP_NOSUCHOBJECT);
            break;
        }
    }
    return SNMP_ERR_NOERROR;
}

struct Options {
    std::string listen = "udp:127.0.0.1:1161";
    unsigned long rows = 1000;
    unsigned long ports = 1000;
    unsigned long lifetime = 3600; // seconds
};

[[noreturn]] void usage(int status) {
    std::fprintf(status == 0 ? stdout : stderr,
                 "usage: %s [--listen udp:127.0.0.1:PORT] [--rows N] [--ports P] "
                 "[--lifetime SECONDS]\n"
                 "Serves N generated lldpRemTable rows spread over P ports from net-snmp's\n"
                 "table_tdata helper; community public, read-only, from 127.0.0.1 only.\n"
                 "Stops on SIGTERM/SIGINT, when its parent exits, or after SECONDS\n"
                 "(default 3600). Prints \"ready\" on stdout once it answers.\n",
                 appName);
    std::exit(status);
}

unsigned long parseCount(std::string_view flag, const char* text, unsigned long min) {
    char* end = nullptr;
    errno = 0;
    unsigned long value = std::strtoul(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || text[0] == '-' || value < min) {
        std::fprintf(stderr, "%s: %.*s: not a number >= %lu: %s\n", appName,
                     static_cast<int>(flag.size()), flag.data(), min, text);
        usage(2);
    }
    return value;
}

Options parseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string_view arg = argv[i];
        if (arg == "-h" || arg == "--help")
            usage(0);
        if (i + 1 >= argc) {
            std::fprintf(stderr, "%s: unknown or incomplete argument: %s\n", appName, argv[i]);
            usage(2);
        }
        const char* value = argv[++i];
        if (arg == "--listen") {
            options.listen = value;
        } else if (arg == "--rows") {
            options.rows = parseCount(arg, value, 0);
        } else if (arg == "--ports") {
            options.ports = parseCount(arg, value, 1);
        } else if (arg == "--lifetime") {
            options.lifetime = parseCount(arg, value, 1);
        } else {
            std::fprintf(stderr, "%s: unknown argument: %s\n", appName, argv[i - 1]);
            usage(2);
        }
    }
    if (options.ports > 4094) {
        std::fprintf(stderr, "%s: --ports: at most 4094\n", appName);
        usage(2);
    }
    return options;
}

// Builds and registers the table; the entries stay owned by `entries`.
void registerRemTable(const Options& options, std::vector<std::unique_ptr<RemEntry>>& entries) {
    netsnmp_tdata* table = netsnmp_tdata_create_table("lldpRemTable", 0);
    if (!table)
        throw std::runtime_error("netsnmp_tdata_create_table failed");

    auto* info = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
    if (!info)
        throw std::runtime_error("out of memory");
    netsnmp_table_helper_add_indexes(info, ASN_TIMETICKS, ASN_INTEGER, ASN_INTEGER, 0);
    info->min_column = columnChassisIdSubtype;
    info->max_column = columnSysCapEnabled;

    // Rows go in in index order: time mark 0, then port, then index.
    entries.reserve(options.rows);
    const unsigned long perPort = (options.rows + options.ports - 1) / options.ports;
    for (unsigned long port = 1; port <= options.ports; ++port) {
        for (unsigned long index = 1; index <= perPort; ++index) {
            const unsigned long k = (index - 1) * options.ports + (port - 1);
            if (k >= options.rows)
                break;
            entries.push_back(std::make_unique<RemEntry>(makeEntry(k, options.ports)));
            netsnmp_tdata_row* row = netsnmp_tdata_create_row();
            if (!row)
                throw std::runtime_error("netsnmp_tdata_create_row failed");
            row->data = entries.back().get();
            const u_long timeMark = 0;
            const long portNum = static_cast<long>(port);
            const long remIndex = static_cast<long>(index);
            netsnmp_tdata_row_add_index(row, ASN_TIMETICKS, &timeMark, sizeof timeMark);
            netsnmp_tdata_row_add_index(row, ASN_INTEGER, &portNum, sizeof portNum);
            netsnmp_tdata_row_add_index(row, ASN_INTEGER, &remIndex, sizeof remIndex);
            if (netsnmp_tdata_add_row(table, row) != SNMPERR_SUCCESS) {
                throw std::runtime_error("netsnmp_tdata_add_row failed");
            }
        }
    }

    netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
        "lldpRemTable", handleRemTable, remTableOid, OID_LENGTH(remTableOid), HANDLER_CAN_RONLY);
    if (!reg || netsnmp_tdata_register(reg, table, info) != MIB_REGISTERED_OK) {
        throw std::runtime_error("cannot register the table");
    }
}

std::string makePrivateDir() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/bench-reference-agent.XXXXXX";
    if (!mkdtemp(pattern.data())) {
        throw std::runtime_error("cannot make a private directory " + pattern + ": " +
                                 std::strerror(errno));
    }
    return pattern;
}

int run(const Options& options, const std::string& stateDir) {
    snmp_enable_stderrlog();
    setenv("SNMPCONFPATH", stateDir.c_str(), 1);
    setenv("MIBS", "", 1);
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_CONFIGURATION_DIR,
                          stateDir.c_str());
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_PERSISTENT_DIR, stateDir.c_str());
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 0); // master
    // One log line per request would cost more than the table lookup being measured.
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID,
                           NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);

    // The access rule goes in the private configuration directory, read by init_snmp.
    const std::string confFile = stateDir + "/" + appName + ".conf";
    if (FILE* conf = std::fopen(confFile.c_str(), "w")) {
        std::fputs("rocommunity public 127.0.0.1\n", conf);
        std::fclose(conf);
    } else {
        throw std::runtime_error("cannot write " + confFile + ": " + std::strerror(errno));
    }

    if (init_agent(appName) != 0)
        throw std::runtime_error("init_agent failed");
    init_vacm_conf();
    init_vacm_vars();

    std::vector<std::unique_ptr<RemEntry>> entries;
    registerRemTable(options, entries);

    init_snmp(appName);
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS,
                          options.listen.c_str());
    if (init_master_agent() != 0) {
        snmp_shutdown(appName);
        throw std::runtime_error("cannot listen on " + options.listen);
    }
    snmp_alarm_register(static_cast<unsigned int>(options.lifetime), 0, onLifetimeOver, nullptr);

    std::printf("ready %s rows=%lu ports=%lu\n", options.listen.c_str(), options.rows,
                options.ports);
    std::fflush(stdout);

    while (!stopRequested) {
        // Blocks until a packet or the next alarm; a signal interrupts the wait.
        agent_check_and_process(1);
        if (getppid() == 1)
            stopRequested = 1;
    }

    snmp_shutdown(appName);
    shutdown_master_agent();
    shutdown_agent();
    // The table and its rows are net-snmp's; the process ends here, so they are not freed.
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);

    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // no SA_RESTART: the signal must end the wait for packets
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    // Stop with the benchmark that started us, even if it could not say so.
    prctl(PR_SET_PDEATHSIG, SIGTERM);

    std::string stateDir;
    int status = 1;
    try {
        stateDir = makePrivateDir();
        status = run(options, stateDir);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s: %s\n", appName, e.what());
        status = 1;
    }
    if (!stateDir.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(stateDir, ignored);
    }
    return status;
}
