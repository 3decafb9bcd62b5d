#pragma once
// The host's state store: an entity tree in which the LLDP agent's entities are mounted where
// the plug-in looks for them ("Statestore/l2discovery/lldp/config", ".../status/all",
// ".../localSystem"). Plug-ins resolve paths in it through SnmpUtil::getEntityRelative.
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/Status.h"
#include "platform/zim/Entity.h"

namespace LldpSnmpd {

inline constexpr const char* configPath = "Statestore/l2discovery/lldp/config";
inline constexpr const char* statusPath = "Statestore/l2discovery/lldp/status/all";
inline constexpr const char* localSystemPath = "Statestore/l2discovery/lldp/localSystem";
inline constexpr const char* mirrorRootPath = "snmp/lldp/root";

class StateStore {
public:
    // Builds the tree with empty agent entities and makes it the host's state-store mount.
    StateStore();
    // Withdraws the mount; entities still referenced elsewhere live on until released.
    ~StateStore();
    StateStore(const StateStore&) = delete;
    StateStore& operator=(const StateStore&) = delete;

    const Zim::Ptr<Zim::Dir>& top() const noexcept { return top_; }
    const Zim::Ptr<Lldp::Config>& config() const noexcept { return config_; }
    const Zim::Ptr<Lldp::AllStatus>& status() const noexcept { return status_; }
    const Zim::Ptr<Lldp::LocalSystem>& localSystem() const noexcept { return localSystem_; }

private:
    Zim::Ptr<Zim::Dir> top_;
    Zim::Ptr<Lldp::Config> config_;
    Zim::Ptr<Lldp::AllStatus> status_;
    Zim::Ptr<Lldp::LocalSystem> localSystem_;
};

} // namespace LldpSnmpd
