#pragma once
// A subagent's link to its AgentX master, as the daemon follows it.
//
// Clock: managers read our TimeStamps against the sysUpTime of the agent they ask, the master.
// Every time a session opens, the master is pinged; its response carries the master's
// sysUpTime, from which the start every TimeStamp counts from is set.
//
// Log: one line when the master is lost and one when the modules are registered again, with how
// long the LLDP MIBs were unreachable (net-snmp's own lines say neither).
//
// Registration: net-snmp registers each subtree with the master from inside its list of
// registration callbacks, and waits there for the master's answer. A master that goes away during
// that wait makes net-snmp take the list apart from inside it: a 100 ms stall and an assertion,
// and every subtree after it marked registered though the master never saw it (after the next
// reconnection those stay unreachable). The subtrees are queued instead and registered after each
// round of the event loop, outside every callback.
//
// Reading: the session reads through a receive of its own, which does not lose memory when the
// master goes away with data of ours unread, as net-snmp's own does.
//
// Stop: the session is closed before the modules unregister, so that unregistering never waits
// on a master that may be stopping at the same moment.
#include <chrono>
#include <optional>
#include <string>
#include <vector>

struct snmp_session;
struct snmp_pdu;

namespace LldpSnmpd {

class MasterLink {
public:
    // socketName: how the master's socket is named in the log.
    explicit MasterLink(std::string socketName);
    ~MasterLink();
    MasterLink(const MasterLink&) = delete;
    MasterLink& operator=(const MasterLink&) = delete;

    // After each round of the event loop: registers the queued subtrees with the master and logs
    // what changed since the last round.
    void watch();
    // Closes the session with the master (without waiting for its answer) and stops following
    // it; the modules then unregister locally.
    void detach();

private:
    using Clock = std::chrono::steady_clock;

    // One subtree to register with the master, as net-snmp's registry hands it over.
    struct Registration;

    void follow(bool on);
    void onSessionOpened(snmp_session* session);
    void onSessionClosed();
    void onMasterUptime(long ticks);
    void registerQueued();

    static int sessionOpened(int, int, void* session, void* self);
    static int sessionClosed(int, int, void* session, void* self);
    static int subtreeRegistered(int, int, void* parameters, void* self);
    static int subtreeUnregistered(int, int, void* parameters, void* self);
    static int pingAnswered(int op, snmp_session* session, int reqid, snmp_pdu* pdu, void* self);

    std::string socketName_;
    std::vector<Registration> queued_; // for the open session, oldest first
    bool following_ = false;
    bool open_ = false;           // a session with the master is open
    bool reported_ = false;       // any line logged yet
    bool registeredOnce_ = false; // modules registered with some master since the start
    bool openedThisRound_ = false;
    std::optional<Clock::time_point> lostAt_;
};

} // namespace LldpSnmpd
