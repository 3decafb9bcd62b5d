#pragma once
// What every host of the plug-in serves, whether its event loop is lldp-snmpd's own or the
// system snmpd's: the LLDP state read from its file, the mirror built on it, and the MIB modules
// registered in the default context. The host owns the loop; it hands the state file's
// descriptor to it and calls back here when the descriptor is readable.
#include "host/LldpGlue.h"
#include "state/StateApplier.h"
#include "state/StateFile.h"
#include "state/StateStore.h"

#include <memory>
#include <string>

namespace LldpSnmpd {

class LldpService {
public:
    explicit LldpService(std::string stateFile);
    // Stops first when still serving.
    ~LldpService();
    LldpService(const LldpService&) = delete;
    LldpService& operator=(const LldpService&) = delete;

    // Applies the state file (false when it is refused: logged, nothing registered), watches it,
    // builds the mirror and initialises every MIB module. Throws std::runtime_error when the
    // file cannot be watched.
    bool start();
    // Unregisters every MIB module, sends what is queued, lets go of the mirror.
    void stop();

    const std::string& stateFile() const noexcept { return stateFile_.path(); }
    // The descriptor that becomes readable when the state file may have changed.
    int fd() const noexcept { return stateFile_.fd(); }
    // Applies the file again if it changed; then sends the notifications that produced.
    void onReadable();
    // Applies the file again (SIGHUP, configuration reload).
    void reload();
    const StateStore& store() const noexcept { return store_; }

private:
    StateStore store_;
    StateApplier applier_;
    StateFile stateFile_;
    std::unique_ptr<LldpGlue> glue_;
};

// Sends every queued notification (to the agent's sinks, or through the master).
void sendQueuedNotifications();

} // namespace LldpSnmpd
