#include "host/MasterLink.h"

#include "host/Log.h"

#include "platform/snmp/Conversions.h"
#include "platform/zim/Clock.h"

// net-snmp's headers go in this order: configuration, library, agent.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <sys/socket.h>
#include <sys/un.h>

// net-snmp's AgentX client; its header is not installed.
extern "C" {
extern netsnmp_session* main_session;
void agentx_unregister_callbacks(netsnmp_session* session);
int agentx_registration_callback(int major, int minor, void* parameters, void* session);
int agentx_register(netsnmp_session* session, oid* name, size_t length, int priority,
                    int rangeSubid, oid rangeUbound, int timeout, u_char flags,
                    const char* context);
}

namespace LldpSnmpd {

namespace {

// AgentX PDU types and the close reason, as the protocol numbers them.
constexpr int agentxClose = 2;
constexpr int agentxPing = 13;
constexpr long closeReasonShutdown = 5;

// A master's sysUpTime read again on a reconnection lands within a few hundredths of the start
// already in force when the master did not restart: keeping that start keeps every time mark,
// and with it every index of the remote tables, where it was.
constexpr double sameStartSeconds = 0.1;

std::string seconds(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

std::string dotted(const std::vector<oid>& name) {
    std::string text;
    for (const oid arc : name) {
        text += (text.empty() ? "" : ".") + std::to_string(arc);
    }
    return text;
}

// net-snmp's receive on a Unix stream socket allocates the peer's address before it reads and
// forgets it when the read fails, as it does when the master goes away with data of ours unread
// (ECONNRESET). The master's session reads through this one instead, the same but for that.
int receiveFromMaster(netsnmp_transport* transport, void* buffer, int size, void** opaque,
                      int* opaqueLength) {
    *opaque = nullptr;
    *opaqueLength = 0;
    if (!transport || transport->sock < 0) {
        return -1;
    }
    ssize_t received;
    do {
        received = recv(transport->sock, buffer, static_cast<size_t>(size), MSG_DONTWAIT);
    } while (received < 0 && errno == EINTR);
    if (received < 0) {
        return -1;
    }
    // Handed to net-snmp, which frees it with the packet (or at once at the end of the stream).
    auto* address = static_cast<sockaddr_un*>(calloc(1, sizeof(sockaddr_un)));
    socklen_t length = sizeof(sockaddr_un);
    if (address &&
        getsockname(transport->sock, reinterpret_cast<sockaddr*>(address), &length) == 0) {
        *opaque = address;
        *opaqueLength = sizeof(sockaddr_un);
    } else {
        free(address);
    }
    return static_cast<int>(received);
}

bool onUnixSocket(int fd) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    return getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
           address.ss_family == AF_UNIX;
}

int pingInterval() {
    return netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL);
}

} // namespace

struct MasterLink::Registration {
    std::vector<oid> name;
    int priority;
    int rangeSubid;
    oid rangeUbound;
    int timeout;
    u_char flags;
    std::optional<std::string> context; // none: the default context

    explicit Registration(const register_parameters& p)
        : name(p.name, p.name + p.namelen), priority(p.priority), rangeSubid(p.range_subid),
          rangeUbound(p.range_ubound), timeout(p.timeout), flags(p.flags) {
        if (p.contextName) {
            context = p.contextName;
        }
    }

    bool sameSubtree(const register_parameters& p) const {
        return std::equal(name.begin(), name.end(), p.name, p.name + p.namelen) &&
               context ==
                   (p.contextName ? std::optional<std::string>(p.contextName) : std::nullopt);
    }
};

MasterLink::MasterLink(std::string socketName) : socketName_(std::move(socketName)) {
    follow(true);
}

MasterLink::~MasterLink() {
    follow(false);
}

void MasterLink::follow(bool on) {
    struct Entry {
        int minor;
        SNMPCallback* callback;
    };
    static constexpr Entry entries[] = {{SNMPD_CALLBACK_INDEX_START, sessionOpened},
                                        {SNMPD_CALLBACK_INDEX_STOP, sessionClosed},
                                        {SNMPD_CALLBACK_REGISTER_OID, subtreeRegistered},
                                        {SNMPD_CALLBACK_UNREGISTER_OID, subtreeUnregistered}};
    if (on == following_) {
        return;
    }
    for (const Entry& entry : entries) {
        if (on) {
            snmp_register_callback(SNMP_CALLBACK_APPLICATION, entry.minor, entry.callback, this);
        } else {
            snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, entry.minor, entry.callback, this,
                                     1);
        }
    }
    following_ = on;
}

int MasterLink::sessionOpened(int, int, void* session, void* self) {
    static_cast<MasterLink*>(self)->onSessionOpened(static_cast<netsnmp_session*>(session));
    return SNMPERR_SUCCESS;
}

int MasterLink::sessionClosed(int, int, void*, void* self) {
    static_cast<MasterLink*>(self)->onSessionClosed();
    return SNMPERR_SUCCESS;
}

int MasterLink::subtreeRegistered(int, int, void* parameters, void* self) {
    auto* link = static_cast<MasterLink*>(self);
    // Without a session the subtree is registered when one opens, as net-snmp re-registers
    // every subtree then.
    if (link->open_ && parameters) {
        link->queued_.emplace_back(*static_cast<const register_parameters*>(parameters));
    }
    return SNMPERR_SUCCESS;
}

int MasterLink::subtreeUnregistered(int, int, void* parameters, void* self) {
    // A subtree gone before its turn never reaches the master.
    if (parameters) {
        const auto& subtree = *static_cast<const register_parameters*>(parameters);
        std::erase_if(static_cast<MasterLink*>(self)->queued_,
                      [&](const Registration& queued) { return queued.sameSubtree(subtree); });
    }
    return SNMPERR_SUCCESS;
}

int MasterLink::pingAnswered(int op, netsnmp_session*, int, netsnmp_pdu* pdu, void* self) {
    if (op == NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE && pdu) {
        static_cast<MasterLink*>(self)->onMasterUptime(pdu->time);
    }
    return 1;
}

void MasterLink::onSessionOpened(netsnmp_session* session) {
    open_ = true;
    openedThisRound_ = true;
    queued_.clear();
    if (!session) {
        return;
    }
    // The subtrees are registered from registerQueued() rather than from net-snmp's callback,
    // which would wait for the master inside the list it takes apart when the master goes.
    snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_REGISTER_OID,
                             agentx_registration_callback, session->myvoid, 1);
    netsnmp_transport* transport = snmp_sess_transport(snmp_sess_pointer(session));
    if (transport && onUnixSocket(transport->sock)) {
        transport->f_recv = receiveFromMaster;
    }
    // Every AgentX response carries the master's sysUpTime; a ping is the least to ask for one.
    // It is answered before the registrations that follow on the same session.
    netsnmp_pdu* ping = snmp_pdu_create(agentxPing);
    ping->sessid = session->sessid;
    if (snmp_async_send(session, ping, pingAnswered, this) == 0) {
        snmp_free_pdu(ping);
        logWarning("AgentX: cannot ask the master agent at " + socketName_ +
                   " for its sysUpTime; time stamps count from this daemon's start");
    }
}

void MasterLink::onSessionClosed() {
    // net-snmp marks every subtree unregistered: the next session registers them all again.
    queued_.clear();
    if (!open_) {
        return;
    }
    open_ = false;
    openedThisRound_ = false;
    if (!lostAt_) {
        lostAt_ = Clock::now();
    }
    logWarning("AgentX: lost the master agent at " + socketName_ +
               "; the LLDP MIBs are unreachable until it is back (reconnecting every " +
               std::to_string(pingInterval()) + " s)");
    reported_ = true;
}

void MasterLink::onMasterUptime(long ticks) {
    // The master counts whole hundredths: its uptime lies anywhere within the hundredth it
    // reports, so the middle of that hundredth estimates its start without leaning either way.
    const double start = Zim::now() - (static_cast<double>(ticks) + 0.5) / 100.0;
    if (std::fabs(start - Snmp::agentStartTime()) < sameStartSeconds) {
        return;
    }
    Snmp::agentStartTimeIs(start);
    logInfo("AgentX: the master agent has been up " + seconds(ticks / 100.0) +
            " s; time stamps count from its start, as its sysUpTime does");
}

void MasterLink::registerQueued() {
    netsnmp_session* const session = main_session;
    std::vector<Registration> round;
    round.swap(queued_);
    for (Registration& subtree : round) {
        // A master lost during a registration closes the session (onSessionClosed): the rest
        // waits for the next one.
        if (!open_ || main_session != session) {
            return;
        }
        const char* context = subtree.context ? subtree.context->c_str() : nullptr;
        if (agentx_register(session, subtree.name.data(), subtree.name.size(), subtree.priority,
                            subtree.rangeSubid, subtree.rangeUbound, subtree.timeout, subtree.flags,
                            context) != 1 &&
            open_ && main_session == session) {
            logWarning("AgentX: the master agent at " + socketName_ + " did not take the subtree " +
                       dotted(subtree.name));
        }
    }
}

void MasterLink::watch() {
    if (open_) {
        registerQueued();
    }
    if (openedThisRound_) {
        openedThisRound_ = false;
        if (lostAt_) {
            const std::chrono::duration<double> away = Clock::now() - *lostAt_;
            logInfo("AgentX: registered again with the master agent at " + socketName_ +
                    "; the LLDP MIBs were unreachable for " + seconds(away.count()) + " s");
            lostAt_.reset();
        } else {
            logInfo("AgentX: registered with the master agent at " + socketName_);
        }
        reported_ = true;
    } else if (!reported_ && !open_) {
        logWarning("AgentX: no master agent at " + socketName_ + " yet; trying every " +
                   std::to_string(pingInterval()) + " s");
        reported_ = true;
    }
}

void MasterLink::detach() {
    follow(false);
    queued_.clear();
    netsnmp_session* session = main_session;
    if (!session) {
        return;
    }
    // What net-snmp's own shutdown of the session does, without waiting for the master's answer
    // to the close: the master may be going away too, and its answer never come. net-snmp keeps
    // the ping alarm's handle in the session's securityModel.
    if (session->securityModel != SNMP_DEFAULT_SECMODEL) {
        snmp_alarm_unregister(static_cast<unsigned>(session->securityModel));
    }
    agentx_unregister_callbacks(session);
    netsnmp_pdu* close = snmp_pdu_create(agentxClose);
    close->sessid = session->sessid;
    close->errstat = closeReasonShutdown;
    if (snmp_async_send(session, close, nullptr, nullptr) == 0) {
        snmp_free_pdu(close);
    }
    remove_trap_session(session);
    snmp_close(session);
    main_session = nullptr;
    open_ = false;
}

} // namespace LldpSnmpd
