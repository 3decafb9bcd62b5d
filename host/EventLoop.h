#pragma once
// The daemon's one thread: net-snmp's select loop (its sessions, its external descriptors and
// its alarms) with the daemon's own descriptors added. Signals only set flags and wake the loop
// through a pipe; their work is done in the loop, between two requests.
#include <functional>
#include <vector>

namespace LldpSnmpd {

class EventLoop {
public:
    using Hook = std::function<void()>;

    // Installs the handlers of SIGTERM, SIGINT, SIGHUP and SIGUSR1, and ignores SIGPIPE.
    EventLoop();
    // Restores the default handlers.
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    void readHandlerIs(int fd, Hook onReadable);
    void afterIterationIs(Hook hook) { afterIteration_ = std::move(hook); }
    void onHangupIs(Hook hook) { onHangup_ = std::move(hook); }
    void onUser1Is(Hook hook) { onUser1_ = std::move(hook); }

    // Runs until SIGTERM or SIGINT; returns the signal's number.
    int run();

private:
    void handleSignals();

    struct Reader {
        int fd;
        Hook onReadable;
    };
    std::vector<Reader> readers_;
    Hook afterIteration_;
    Hook onHangup_;
    Hook onUser1_;
    int stopSignal_ = 0;
};

} // namespace LldpSnmpd
