#include "host/EventLoop.h"

#include "host/Log.h"

// net-snmp's headers go in this order: configuration, library, agent.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

namespace LldpSnmpd {

namespace {

// One flag per signal: the handler only raises them, the loop lowers each before acting on it,
// so a signal that arrives meanwhile is acted on in the next round.
volatile sig_atomic_t termRaised = 0;
volatile sig_atomic_t intRaised = 0;
volatile sig_atomic_t hupRaised = 0;
volatile sig_atomic_t usr1Raised = 0;
int wakePipe[2] = {-1, -1};

extern "C" void onSignal(int signal) {
    const int savedErrno = errno;
    switch (signal) {
    case SIGTERM:
        termRaised = 1;
        break;
    case SIGINT:
        intRaised = 1;
        break;
    case SIGHUP:
        hupRaised = 1;
        break;
    case SIGUSR1:
        usr1Raised = 1;
        break;
    default:
        break;
    }
    if (wakePipe[1] >= 0) {
        [[maybe_unused]] auto ignored = write(wakePipe[1], "", 1);
    }
    errno = savedErrno;
}

// Lowers a flag and says whether it was up.
bool take(volatile sig_atomic_t& flag) {
    if (!flag) {
        return false;
    }
    flag = 0;
    return true;
}

constexpr int handledSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGUSR1};

void install(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // select must see EINTR, not restart
    sigaction(signal, &action, nullptr);
}

void nonBlocking(int fd) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    fcntl(fd, F_SETFD, FD_CLOEXEC);
}

} // namespace

EventLoop::EventLoop() {
    if (pipe(wakePipe) != 0) {
        throw std::runtime_error(std::string("cannot make the wake-up pipe: ") +
                                 std::strerror(errno));
    }
    nonBlocking(wakePipe[0]);
    nonBlocking(wakePipe[1]);
    for (auto* flag : {&termRaised, &intRaised, &hupRaised, &usr1Raised}) {
        *flag = 0;
    }
    for (int signal : handledSignals) {
        install(signal, onSignal);
    }
    install(SIGPIPE, SIG_IGN);
}

EventLoop::~EventLoop() {
    for (int signal : handledSignals) {
        install(signal, SIG_DFL);
    }
    for (int& fd : wakePipe) {
        if (fd >= 0) {
            close(fd);
        }
        fd = -1;
    }
}

void EventLoop::readHandlerIs(int fd, Hook onReadable) {
    readers_.push_back({fd, std::move(onReadable)});
}

int EventLoop::run() {
    stopSignal_ = 0;
    while (stopSignal_ == 0) {
        int numfds = 0;
        fd_set readfds;
        fd_set writefds;
        fd_set exceptfds;
        FD_ZERO(&readfds);
        FD_ZERO(&writefds);
        FD_ZERO(&exceptfds);
        struct timeval timeout {};
        struct timeval* tvp = &timeout;
        int block = 1;
        // net-snmp's sessions, and the time until its next timeout or alarm.
        snmp_select_info(&numfds, &readfds, tvp, &block);
        if (block) {
            tvp = nullptr;
        }
        netsnmp_external_event_info(&numfds, &readfds, &writefds, &exceptfds);
        FD_SET(wakePipe[0], &readfds);
        numfds = std::max(numfds, wakePipe[0] + 1);
        for (const auto& r : readers_) {
            FD_SET(r.fd, &readfds);
            numfds = std::max(numfds, r.fd + 1);
        }

        int count = select(numfds, &readfds, &writefds, &exceptfds, tvp);
        if (count > 0) {
            if (FD_ISSET(wakePipe[0], &readfds)) {
                FD_CLR(wakePipe[0], &readfds);
                --count;
                char drain[64];
                while (read(wakePipe[0], drain, sizeof drain) > 0) {
                }
            }
            for (const auto& r : readers_) {
                if (!FD_ISSET(r.fd, &readfds)) {
                    continue;
                }
                FD_CLR(r.fd, &readfds);
                --count;
                r.onReadable();
            }
            netsnmp_dispatch_external_events(&count, &readfds, &writefds, &exceptfds);
            if (count > 0) {
                snmp_read(&readfds);
            }
        } else if (count == 0) {
            snmp_timeout();
        } else if (errno != EINTR) {
            logError(std::string("select failed: ") + std::strerror(errno));
        }
        run_alarms();
        netsnmp_check_outstanding_agent_requests();
        handleSignals();
        if (afterIteration_) {
            afterIteration_();
        }
    }
    return stopSignal_;
}

void EventLoop::handleSignals() {
    if (take(usr1Raised) && onUser1_) {
        onUser1_();
    }
    if (take(hupRaised) && onHangup_) {
        onHangup_();
    }
    if (take(termRaised)) {
        stopSignal_ = SIGTERM;
    } else if (take(intRaised)) {
        stopSignal_ = SIGINT;
    }
}

} // namespace LldpSnmpd
