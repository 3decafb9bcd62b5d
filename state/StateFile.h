#pragma once
// The JSON state file as a source of the LLDP agent's state: read at start, then watched. The
// watch is on the file's directory, so a file replaced by rename (as editors and careful
// writers do) is seen as well as one rewritten in place; when the path is a symbolic link, the
// folder of the file it resolves to is watched too. A file that does not parse or validate is
// refused whole and the state already served stays as it is.
#include "state/StateApplier.h"

#include <string>
#include <vector>

namespace LldpSnmpd {

class StateFile {
public:
    StateFile(std::string path, StateApplier& applier);
    ~StateFile();
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

    const std::string& path() const noexcept { return path_; }

    // Reads and applies the file; a refused file is logged (file, JSON path, reason) and
    // changes nothing. Returns whether it was applied.
    bool load();
    // Starts watching; throws std::runtime_error when the directory cannot be watched.
    void watch();
    // The descriptor to wait on, -1 before watch().
    int fd() const noexcept { return fd_; }
    // Reads the pending events; loads the file again if it was written or moved into place.
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

    std::string path_;
    Watch own_;
    Watch target_;
    StateApplier& applier_;
    int fd_ = -1;
    bool everApplied_ = false;
};

} // namespace LldpSnmpd
