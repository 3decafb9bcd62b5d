#include "state/StateFile.h"

#include "host/Log.h"
#include "state/StateParser.h"

#include "platform/zim/Jotlog.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
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
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool StateFile::load() {
    StateDoc doc;
    try {
        doc = loadStateFile(path_);
    } catch (const StateError& e) {
        logError("refusing state file " + path_ + ": " + e.path() + ": " + e.reason() +
                 (everApplied_ ? " (the state served stays as it was)" : ""));
        JOTLOG("refused " << path_ << ": " << e.what());
        return false;
    } catch (const std::exception& e) {
        // Out of memory, or a fault of ours: refused all the same, never fatal.
        logError("refusing state file " + path_ + ": " + e.what() +
                 (everApplied_ ? " (the state served stays as it was)" : ""));
        return false;
    }
    try {
        auto summary = applier_.stateIs(doc);
        everApplied_ = true;
        logInfo("applied state file " + path_ + ": " + describe(summary));
        return true;
    } catch (const std::exception& e) {
        // The document was checked, so this is a fault of ours; say so rather than stop serving.
        logError("applying state file " + path_ + " failed: " + e.what());
        return false;
    }
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
        load();
    } else if (gone) {
        logWarning("state file " + path_ + " was removed; the state served stays as it was");
    }
}

} // namespace LldpSnmpd
