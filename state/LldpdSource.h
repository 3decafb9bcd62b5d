#pragma once
// lldpd as the source of the LLDP agent's state, followed live through liblldpctl. At start (and
// on every reconnection) it reads lldpd's whole view; afterwards a watching connection tells of
// neighbour changes, and only the ports they concern are read again, on a second connection. A
// periodic refresh picks up what lldpd does not announce (counters, the local system, interfaces
// that come and go) and retries ports that could not be read. Every change goes through the
// applier as a difference, as a changed state file does.
//
// While lldpd is away (not started yet, stopped, restarting) the last known state keeps being
// served; the source reconnects with a bounded backoff and logs once per change of state.
#include "state/LldpdClient.h"
#include "state/LldpdView.h"
#include "state/PortNumbers.h"
#include "state/StateApplier.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace LldpSnmpd {

class LldpdSource {
public:
    // How often everything is read again while connected, and the longest wait between two
    // attempts to reconnect.
    static constexpr double refreshSeconds = 10.0;
    static constexpr double maxBackoffSeconds = 8.0;
    // The shortest time from the end of one read of changed ports to the start of the next: a
    // burst of changes (lldpd announces each neighbour on its own) is read in a few batches
    // instead of reading the same ports again for every neighbour, which would also keep lldpd
    // from taking in the frames that follow. A change after a quiet time is read at once.
    static constexpr double readGapSeconds = 0.1;

    LldpdSource(std::string socketPath, PortNumbers& numbers);
    ~LldpdSource();
    LldpdSource(const LldpdSource&) = delete;
    LldpdSource& operator=(const LldpdSource&) = delete;

    const std::string& socketPath() const noexcept { return socketPath_; }

    // One whole read, nothing followed; throws LldpdError. For --dump-state.
    StateDoc readOnce();

    // Applies through applier from now on; connects (or starts trying to) and follows lldpd
    // from the event loop (net-snmp's external descriptors and alarms).
    void start(StateApplier& applier);
    // Reads everything again now (SIGHUP).
    void refresh();
    bool connected() const noexcept { return watch_ != nullptr; }
    // The document last derived from lldpd.
    const StateDoc& view() const noexcept { return doc_; }

private:
    struct PortIndexes {
        std::map<NeighborIdentity, int32_t> byIdentity;
        int32_t last = 0;
    };

    void connect();
    void lost(const std::string& why);
    void reportProblem(const std::string& problem);
    void scheduleReconnect();
    void scheduleRefresh();
    void cancelAlarm(unsigned& alarm);
    void onWatchReadable();
    void readDirtyPorts();
    void readAll();
    // Reads the named ports again (all of lldpd's when names is empty) and applies them.
    void readPorts(const std::set<std::string>& names, bool all);
    std::optional<InterfaceDoc> interfaceDoc(LldpdPort&& port);
    void portGone(const std::string& name);
    void apply(const std::vector<Ifkit::IntfId>& changed);
    LldpdConnection& query();

    static void onReconnectAlarm(unsigned int, void* self);
    static void onRefreshAlarm(unsigned int, void* self);
    static void onReadGapAlarm(unsigned int, void* self);
    static void onReadable(int fd, void* self);

    std::string socketPath_;
    PortNumbers& numbers_;
    StateApplier* applier_ = nullptr;
    std::unique_ptr<LldpdConnection> query_;
    std::unique_ptr<LldpdConnection> watch_;
    LldpdGlobal global_;
    StateDoc doc_;
    std::map<std::string, PortIndexes> indexes_;
    std::map<std::string, uint32_t> ageoutsSeen_;
    uint32_t ageouts_ = 0;
    std::map<std::string, std::string> failingPorts_; // port -> the reason last logged
    std::set<std::string> dirty_;
    std::set<std::string> announcedNumbers_;
    std::string problem_; // what was last logged about the connection; empty while connected
    bool everConnected_ = false;
    double backoff_ = 0.5;
    unsigned reconnectAlarm_ = 0;
    unsigned refreshAlarm_ = 0;
    unsigned readGapAlarm_ = 0; // changed ports wait for it
    double lastReadEnd_ = 0;    // monotonic seconds
};

} // namespace LldpSnmpd
