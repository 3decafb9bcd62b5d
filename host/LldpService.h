#pragma once
// What every host of the plug-in serves, whether its event loop is lldp-snmpd's own or the
// system snmpd's: the LLDP state read from its source (a state file, or a running lldpd), the
// mirror built on it, and the MIB modules registered in the default context. The host owns the
// loop; it hands the state file's descriptor to it and calls back here when the descriptor is
// readable. lldpd is followed through net-snmp's own descriptors and alarms.
#include "host/LldpGlue.h"
#include "state/LldpdSource.h"
#include "state/PortNumbers.h"
#include "state/StateApplier.h"
#include "state/StateFile.h"
#include "state/StateStore.h"

#include <memory>
#include <optional>
#include <string>

namespace LldpSnmpd {

class LldpService {
public:
    explicit LldpService(std::string stateFile);
    // Follows the lldpd at socket; numbers given to interfaces in place of an ifIndex are kept
    // in portNumbersFile ("" for nowhere).
    struct Lldpd {
        std::string socket;
        std::string portNumbersFile;
    };
    explicit LldpService(const Lldpd& lldpd);
    // Stops first when still serving.
    ~LldpService();
    LldpService(const LldpService&) = delete;
    LldpService& operator=(const LldpService&) = delete;

    // Applies the state file (false when it is refused: logged, nothing registered), watches it,
    // builds the mirror and initialises every MIB module. Throws std::runtime_error when the
    // file cannot be watched. lldpd need not be there yet: it is followed once it answers.
    bool start();
    // Unregisters every MIB module, sends what is queued, lets go of the mirror.
    void stop();

    // The state file's path, "" when following lldpd.
    std::string stateFile() const { return stateFile_ ? stateFile_->path() : std::string(); }
    // The lldpd socket followed; nullopt when serving a state file.
    std::optional<std::string> lldpdSocket() const {
        return lldpd_ ? std::optional(lldpd_->socketPath()) : std::nullopt;
    }
    // The descriptor that becomes readable when the state file may have changed; -1 when
    // following lldpd.
    int fd() const noexcept { return stateFile_ ? stateFile_->fd() : -1; }
    // Applies the file again if it changed; then sends the notifications that produced.
    void onReadable();
    // Reads the file again on a worker thread, applied by onReadable(); or reads lldpd again
    // (SIGHUP, configuration reload).
    void reload();
    const StateStore& store() const noexcept { return store_; }

private:
    StateStore store_;
    StateApplier applier_;
    std::optional<StateFile> stateFile_;
    std::unique_ptr<PortNumbers> portNumbers_;
    std::unique_ptr<LldpdSource> lldpd_;
    std::unique_ptr<LldpGlue> glue_;
};

// Sends every queued notification (to the agent's sinks, or through the master).
void sendQueuedNotifications();

} // namespace LldpSnmpd
