#include "state/StateFile.h"

#include "host/Log.h"
#include "state/StateParser.h"

#include "platform/zim/Jotlog.h"

#include <malloc.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace LldpSnmpd {

namespace {

std::string describe(const ApplySummary& s) {
    std::string out;
    auto add = [&](size_t n, const char* what) {
        if (n == 0) {
            return;
        }
        out += (out.empty() ? "" : ", ") + std::to_string(n) + " " + what;
    };
    add(s.interfacesAdded, "interfaces added");
    add(s.interfacesRemoved, "interfaces removed");
    add(s.neighborsAdded, "neighbours added");
    add(s.neighborsRemoved, "neighbours removed");
    add(s.neighborsChanged, "neighbours changed");
    return out.empty() ? "no interface or neighbour changes" : out;
}

} // namespace

StateFile::StateFile(std::string path, StateApplier& applier)
    : path_(std::move(path)), applier_(applier) {
    std::filesystem::path p(path_);
    own_.name = p.filename().string();
    own_.directory = p.has_parent_path() ? p.parent_path().string() : ".";
}

StateFile::~StateFile() {
    if (worker_.joinable()) {
        worker_.join();
    }
    for (int fd : {pollFd_, fd_, loadedFd_}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

StateFile::Reading StateFile::readFile() const {
    Reading reading;
    try {
        reading.plan = applier_.plan(loadStateFile(
            path_, [this](const Ifkit::IntfId& intf, Interface::EthPortId port,
                          const NeighborDoc& n) { return applier_.isApplied(intf, port, n); }));
    } catch (const StateError& e) {
        reading.refusal = e.path() + ": " + e.reason();
    } catch (const std::exception& e) {
        // Out of memory, or a fault of ours: refused all the same, never fatal.
        reading.refusal = e.what();
    }
    // The parse tree and the documents of neighbours that did not change are gone: their pages
    // go back to the system rather than keep the height of the reading as resident memory.
    malloc_trim(0);
    return reading;
}

bool StateFile::apply(Reading reading) {
    if (!reading.plan) {
        logError("refusing state file " + path_ + ": " + reading.refusal +
                 (everApplied_ ? " (the state served stays as it was)" : ""));
        JOTLOG("refused " << path_ << ": " << reading.refusal);
        return false;
    }
    try {
        logApplied(applier_.apply(std::move(*reading.plan)));
        return true;
    } catch (const std::exception& e) {
        // The document was checked, so this is a fault of ours; say so rather than stop serving.
        logError("applying state file " + path_ + " failed: " + e.what());
        return false;
    }
}

void StateFile::logApplied(const ApplySummary& summary) {
    // The documents of what was applied are gone, scattered among what is served: their pages
    // go back to the system rather than stay resident.
    malloc_trim(0);
    everApplied_ = true;
    logInfo("applied state file " + path_ + ": " + describe(summary));
}

bool StateFile::load() {
    return apply(readFile());
}

void StateFile::reload() {
    if (worker_.joinable() || applier_.applying()) {
        again_ = true;
        return;
    }
    worker_ = std::thread([this] {
        done_ = readFile();
        const uint64_t one = 1;
        // The loop sees the descriptor readable; a full counter cannot happen with one worker.
        [[maybe_unused]] auto n = write(loadedFd_, &one, sizeof one);
    });
}

void StateFile::onLoaded() {
    uint64_t count = 0;
    if (::read(loadedFd_, &count, sizeof count) < 0) {
        return;
    }
    if (worker_.joinable()) {
        worker_.join();
        Reading reading = std::move(done_);
        done_ = {};
        if (!reading.plan) {
            apply(std::move(reading));
        } else {
            try {
                applier_.begin(std::move(*reading.plan));
            } catch (const std::exception& e) {
                logError("applying state file " + path_ + " failed: " + e.what());
                applier_.abandon();
            }
        }
    }
    if (applier_.applying()) {
        applySlice();
    }
    if (!worker_.joinable() && !applier_.applying() && again_) {
        again_ = false;
        reload();
    }
}

namespace {
// How long one slice of a large difference may hold the loop, and how many neighbours are
// applied between two looks at the clock.
constexpr auto sliceTime = std::chrono::milliseconds(5);
constexpr size_t neighboursBetweenLooks = 16;
} // namespace

void StateFile::applySlice() {
    const auto until = std::chrono::steady_clock::now() + sliceTime;
    try {
        do {
            if (auto summary = applier_.step(neighboursBetweenLooks)) {
                logApplied(*summary);
                return;
            }
        } while (std::chrono::steady_clock::now() < until);
    } catch (const std::exception& e) {
        // The document was checked, so this is a fault of ours; say so rather than stop serving.
        logError("applying state file " + path_ + " failed: " + e.what());
        applier_.abandon();
        return;
    }
    // The rest after the loop has answered what waits: the descriptor stays readable.
    const uint64_t one = 1;
    [[maybe_unused]] auto n = write(loadedFd_, &one, sizeof one);
}

namespace {
constexpr uint32_t watchMask =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM | IN_DELETE_SELF | IN_MOVE_SELF;
}

void StateFile::watch() {
    fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd_ < 0) {
        throw std::runtime_error(std::string("inotify: ") + std::strerror(errno));
    }
    loadedFd_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (loadedFd_ < 0) {
        throw std::runtime_error(std::string("eventfd: ") + std::strerror(errno));
    }
    pollFd_ = epoll_create1(EPOLL_CLOEXEC);
    if (pollFd_ < 0) {
        throw std::runtime_error(std::string("epoll: ") + std::strerror(errno));
    }
    for (int fd : {fd_, loadedFd_}) {
        struct epoll_event event {};
        event.events = EPOLLIN;
        event.data.fd = fd;
        if (epoll_ctl(pollFd_, EPOLL_CTL_ADD, fd, &event) != 0) {
            throw std::runtime_error(std::string("epoll: ") + std::strerror(errno));
        }
    }
    own_.wd = inotify_add_watch(fd_, own_.directory.c_str(), watchMask);
    if (own_.wd < 0) {
        throw std::runtime_error("cannot watch " + own_.directory + ": " + std::strerror(errno));
    }
    watchTarget();
}

void StateFile::watchTarget() {
    std::error_code error;
    if (!std::filesystem::is_symlink(path_, error)) {
        return;
    }
    auto resolved = std::filesystem::weakly_canonical(path_, error);
    if (error) {
        return;
    }
    Watch next{-1, resolved.parent_path().string(), resolved.filename().string()};
    if (next.directory == target_.directory && next.name == target_.name) {
        return;
    }
    // Watching the same folder twice yields the same descriptor: it must not be removed.
    if (target_.wd >= 0 && target_.wd != own_.wd) {
        inotify_rm_watch(fd_, target_.wd);
    }
    next.wd = inotify_add_watch(fd_, next.directory.c_str(), watchMask);
    if (next.wd < 0) {
        logWarning("cannot watch " + next.directory + ", where the state file " + path_ +
                   " leads: " + std::strerror(errno) + "; changes there are seen on SIGHUP only");
    }
    target_ = next;
}

void StateFile::onReadable() {
    struct epoll_event events[2];
    const int n = epoll_wait(pollFd_, events, 2, 0);
    for (int i = 0; i < n; ++i) {
        if (events[i].data.fd == fd_) {
            onFileEvents();
        } else {
            onLoaded();
        }
    }
}

void StateFile::onFileEvents() {
    alignas(struct inotify_event) char buffer[8192];
    bool changed = false;
    bool gone = false;
    for (;;) {
        ssize_t n = read(fd_, buffer, sizeof buffer);
        if (n <= 0) {
            break;
        }
        for (ssize_t at = 0; at < n;) {
            const auto* event = reinterpret_cast<const struct inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof(struct inotify_event) + event->len);
            if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF)) {
                if (event->wd == own_.wd) {
                    logWarning("the directory " + own_.directory + " of the state file went " +
                               "away; changes to " + path_ + " are no longer seen");
                }
                continue;
            }
            const bool ours = (event->wd == own_.wd && own_.name == event->name) ||
                              (event->wd == target_.wd && target_.name == event->name);
            if (event->len == 0 || !ours) {
                continue;
            }
            if (event->mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) {
                changed = true;
                gone = false;
            } else if (event->mask & (IN_DELETE | IN_MOVED_FROM)) {
                gone = true;
            }
        }
    }
    // One load for a burst of events; a file that was replaced is read once it is in place.
    if (changed && !gone) {
        watchTarget(); // the link may lead elsewhere now
        reload();
    } else if (gone) {
        logWarning("state file " + path_ + " was removed; the state served stays as it was");
    }
}

} // namespace LldpSnmpd
