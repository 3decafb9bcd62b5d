#pragma once
// The top mirroring state machine. It follows the LLDP agent's status, local system and
// configuration, keeps the local management addresses of the mirror (each with the ports it is
// sent on) and the priority order they depend on, and decides when the remote tables' change
// notification may go out. When its first pass is done it publishes the root to the port-list
// conversion.
#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/RemoteSystem.h"
#include "platform/lldp/Status.h"
#include "platform/zim/Generic.h"
#include "platform/zim/Ptr.h"
#include "platform/zim/String8.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>

namespace Snmp {

// Builds one lldpRemTablesChange notification and hands it to the host's trap queue; 0 when
// queued or when the host has the notification switched off.
int lldpRemTablesChangeNotify(uint32_t inserts, uint32_t deletes, uint32_t drops, uint32_t ageouts,
                              Zim::String8 context);

// Builds one lldpXMedTopologyChangeDetected notification for the neighbour (port, index) and
// hands it to the host's trap queue; 0 when queued or switched off.
int lldpXMedTopologyChangeDetectedNotify(const Lldp::RemoteSystem& neighbour,
                                         Interface::EthPortId port, int32_t index,
                                         Zim::String8 context);

} // namespace Snmp

namespace Lldp::Snmp {

class LldpSm : public Zim::PtrInterface, public Zim::GenericIf {
public:
    using Ptr = Zim::Ptr<LldpSm>;
    using PtrConst = Zim::Ptr<const LldpSm>;

    // Forwards changes of the agent's remote-table change time.
    class ZimStatus : public Lldp::AllStatus::Notifiee {
    public:
        explicit ZimStatus(LldpSm* lldpSm) noexcept : lldpSm_(lldpSm) {}
        LldpSm* lldpSm() const noexcept { return lldpSm_; }
        void lldpSmIs(LldpSm* lldpSm) noexcept { lldpSm_ = lldpSm; }
        void onRemTablesLastChangeTime() override;

    protected:
        // A different status can carry changes the machine has not reported yet.
        void onNotifierIs() override;

    private:
        LldpSm* lldpSm_; // the owner, which outlives its reactors
    };

    // Forwards changes of the local system's management addresses and their priorities.
    class ZimLocalSystem : public Lldp::LocalSystem::Notifiee {
    public:
        explicit ZimLocalSystem(LldpSm* lldpSm) noexcept : lldpSm_(lldpSm) {}
        LldpSm* lldpSm() const noexcept { return lldpSm_; }
        void lldpSmIs(LldpSm* lldpSm) noexcept { lldpSm_ = lldpSm; }
        void onManagementAddress(const ManagementAddress::Key& key) override;
        void onManagementAddressPrio(const ManAddrPriority& prio) override;

    private:
        LldpSm* lldpSm_;
    };

    // Null entities are allowed: the machine then simply does not follow them. Runs the first
    // pass before returning, so a machine is always initialised.
    LldpSm(const Zim::Ptr<const Lldp::AllStatus>& status,
           const Zim::Ptr<const Lldp::LocalSystem>& localSystem,
           const Zim::Ptr<const Lldp::Config>& config, const Root::Ptr& root);
    LldpSm(const LldpSm&) = delete;
    LldpSm& operator=(const LldpSm&) = delete;

    // The followed entities (null when not followed).
    Zim::Ptr<const Lldp::AllStatus> status() const;
    Zim::Ptr<const Lldp::LocalSystem> localSystem() const;
    const Zim::Ptr<const Lldp::Config>& config() const noexcept { return config_; }
    const Root::Ptr& root() const noexcept { return root_; }
    bool initialized() const noexcept { return initialized_; }

    // The same entity keeps its reactor; another one gets a new reactor.
    void statusIs(const Zim::Ptr<const Lldp::AllStatus>& status);
    void statusDel();
    void localSystemIs(const Zim::Ptr<const Lldp::LocalSystem>& localSystem);
    void localSystemDel();

    double lastNotificationTime() const noexcept { return lastNotificationTime_; }
    void lastNotificationTimeIs(double const& time) { lastNotificationTime_ = time; }

    // The priority order of the management addresses. The two maps are exact inverses: change
    // them only in pairs (manAddrIs with manAddrPrioIs, manAddrDel with manAddrPrioDel).
    const std::map<ManAddrPriority, ManagementAddress::Key>& manAddr() const noexcept {
        return manAddr_;
    }
    const std::unordered_map<ManagementAddress::Key, ManAddrPriority>&
    manAddrPrio() const noexcept {
        return manAddrPrio_;
    }
    // The address's priority; the all-zero priority when it has none.
    ManAddrPriority manAddrPrio(const ManagementAddress::Key& key) const;
    void manAddrIs(const ManAddrPriority& prio, const ManagementAddress::Key& key);
    // Returns the key that stood at prio (the empty key when none did).
    ManagementAddress::Key manAddrDel(const ManAddrPriority& prio);
    void manAddrDelAll() { manAddr_.clear(); }
    void manAddrPrioIs(const ManagementAddress::Key& key, const ManAddrPriority& prio);
    // Returns the priority the key had (the all-zero priority when none).
    ManAddrPriority manAddrPrioDel(const ManagementAddress::Key& key);
    void manAddrPrioDelAll() { manAddrPrio_.clear(); }

    void handleInitialized();
    void handleManagementAddress(const ManagementAddress::Key& key);
    void handleManagementAddressPrio(const ManAddrPriority& prio);
    // Told by whoever learns it that interface intfId has SNMP port number port.
    void handleLocalPort(const Ifkit::IntfId& intfId, Interface::EthPortId port);
    void handleLastChangeTime();
    // A MED endpoint appeared on or left a port that notifies it: the notification goes out
    // unless one went out less than the notification interval ago.
    void handleMedTopologyChange(const Zim::Ptr<const Lldp::RemoteSystem>& neighbour,
                                 Interface::EthPortId port, int32_t index);
    double lastMedNotificationTime() const noexcept { return lastMedNotificationTime_; }
    void lastMedNotificationTimeIs(double const& time) { lastMedNotificationTime_ = time; }

    std::string strRep() const override;
    // "manAddrPrio" and "lastNotificationTime".
    std::string attributeStrRep(std::string_view attribute) const override;
    // "handleLocalPort" (Ifkit::IntfId, port as Interface::EthPortId or a plain unsigned
    // number, which is range checked), "handleLastChangeTime" (),
    // "handleManagementAddressPrio" (Lldp::ManAddrPriority).
    void invoke(std::string_view operation, const std::vector<std::any>& args) override;

private:
    void newStatus(const Zim::Ptr<const Lldp::AllStatus>& status);
    void newLocalSystem(const Zim::Ptr<const Lldp::LocalSystem>& localSystem);
    // Records that key stands at prio, first dropping whatever stood there before on either side
    // so that the two maps stay inverses. Returns the key that prio held until now, when it was
    // another one: that address has lost its priority.
    std::optional<ManagementAddress::Key> priorityIs(const ManAddrPriority& prio,
                                                     const ManagementAddress::Key& key);

    std::unique_ptr<ZimStatus> status_;
    std::unique_ptr<ZimLocalSystem> localSystem_;
    Zim::Ptr<const Lldp::Config> config_;
    Root::Ptr root_;
    double lastNotificationTime_ = 0.0;
    double lastMedNotificationTime_ = 0.0;
    std::unordered_map<ManagementAddress::Key, ManAddrPriority> manAddrPrio_;
    std::map<ManAddrPriority, ManagementAddress::Key> manAddr_;
    bool initialized_ = false;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~LldpSm() override;
};

// The row operations of the local mirror, over the machine whose root and priorities they use.
void doAddLocalManagementAddress(LldpSm& lldpSm, const ManagementAddress::Key& key);
void doRemoveLocalManagementAddress(LldpSm& lldpSm, const ManagementAddress::Key& key);
void doAddLocalManagementAddressPort(LldpSm& lldpSm, const ManagementAddress::Key& key,
                                     Interface::EthPortId port);
void doRemoveLocalManagementAddressPort(LldpSm& lldpSm, const ManagementAddress::Key& key,
                                        Interface::EthPortId port);

} // namespace Lldp::Snmp
