#pragma once
// The JSON state file as a source of the LLDP agent's state: read at start, then watched. The
// watch is on the file's directory, so a file replaced by rename (as editors and careful
// writers do) is seen as well as one rewritten in place; when the path is a symbolic link, the
// folder of the file it resolves to is watched too. A file that does not parse or validate is
// refused whole and the state already served stays as it is.
//
// Reloads read and check the file on a worker thread, and compare it there with the state
// applied before, so that SNMP requests are answered meanwhile; the loop applies only the
// difference when the worker is done, a large one in slices of a few milliseconds with requests
// answered between them.
#include "state/StateApplier.h"
#include "state/StateParser.h"

#include <optional>
#include <string>
#include <thread>

namespace LldpSnmpd {

class StateFile {
public:
    StateFile(std::string path, StateApplier& applier);
    ~StateFile();
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

    const std::string& path() const noexcept { return path_; }

    // Reads and applies the file now; a refused file is logged (file, JSON path, reason) and
    // changes nothing. Returns whether it was applied.
    bool load();
    // Reads the file on a worker thread; onLoaded() applies it. A reload asked for while one
    // runs is done after it, once for any number of requests.
    void reload();

    // Starts watching; throws std::runtime_error when the directory cannot be watched.
    void watch();
    // The one descriptor to wait on (file events and a finished reload), -1 before watch().
    int fd() const noexcept { return pollFd_; }
    // Reads the pending events: starts a reload if the file was written or moved into place,
    // applies a reload that finished.
    void onReadable();

private:
    // A name in a watched folder whose changes mean the state file changed.
    struct Watch {
        int wd = -1;
        std::string directory;
        std::string name;
    };
    // Follows the path's links and watches the folder of the file they end at.
    void watchTarget();
    // What one reading of the file gave: the difference it makes, or the refusal.
    struct Reading {
        std::optional<StatePlan> plan;
        std::string refusal; // "path: reason" when refused
    };
    Reading readFile() const;
    bool apply(Reading reading);
    void onFileEvents();
    // Starts applying (or logs the refusal of) what the worker read, then goes on slice by
    // slice, coming back through the loop between slices.
    void onLoaded();
    void applySlice();
    void logApplied(const ApplySummary& summary);

    std::string path_;
    Watch own_;
    Watch target_;
    StateApplier& applier_;
    int fd_ = -1;       // inotify
    int loadedFd_ = -1; // eventfd: the worker is done
    int pollFd_ = -1;   // epoll over both
    bool everApplied_ = false;
    std::thread worker_;
    Reading done_;       // written by the worker, read after it is joined
    bool again_ = false; // a reload was asked for while the worker ran or a plan applied
};

} // namespace LldpSnmpd
