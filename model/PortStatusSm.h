#pragma once
// Mirrors the neighbours of one interface: one RemoteSystem row and one RemoteSystemSm for every
// neighbour the agent lists in the interface's PortStatus.
#include "model/RemoteSystemSm.h"
#include "model/Root.h"
#include "platform/lldp/Status.h"
#include "platform/zim/Generic.h"
#include "platform/zim/Ptr.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Lldp::Snmp {

class PortStatusSm : public Zim::PtrInterface, public Zim::GenericIf {
public:
    using Ptr = Zim::Ptr<PortStatusSm>;

    // Forwards changes of the interface's neighbour list.
    class ZimPortStatus : public Lldp::PortStatus::Notifiee {
    public:
        explicit ZimPortStatus(PortStatusSm* portStatusSm) noexcept : portStatusSm_(portStatusSm) {}
        PortStatusSm* portStatusSm() const noexcept { return portStatusSm_; }
        void portStatusSmIs(PortStatusSm* portStatusSm) noexcept { portStatusSm_ = portStatusSm; }
        void onRemoteSystem(const int32_t& index) override;

    private:
        PortStatusSm* portStatusSm_; // the owner, which outlives its reactor
    };

    // A null portStatus is allowed: the machine then follows nothing. Adds the interface's
    // neighbours before returning. The reactor starts muted; the owner turns it on with
    // hasNotificationActiveIs(true).
    PortStatusSm(Interface::EthPortId ethPortId, const Zim::Ptr<const Lldp::PortStatus>& portStatus,
                 const Root::Ptr& root);
    PortStatusSm(const PortStatusSm&) = delete;
    PortStatusSm& operator=(const PortStatusSm&) = delete;

    Interface::EthPortId ethPortId() const noexcept { return ethPortId_; }
    // The followed status (null when none).
    Zim::Ptr<const Lldp::PortStatus> portStatus() const;
    const Root::Ptr& root() const noexcept { return root_; }
    bool initialized() const noexcept { return initialized_; }

    // One machine per neighbour, by the agent's index.
    const std::unordered_map<int32_t, RemoteSystemSm::Ptr>& remoteSystemSm() const noexcept {
        return remoteSystemSm_;
    }
    RemoteSystemSm::Ptr remoteSystemSm(int32_t index) const;
    // Returns the existing machine when its parameters are the same and refuses different ones
    // (name in use); a new machine starts with its notifications on.
    RemoteSystemSm::Ptr remoteSystemSmIs(int32_t index, Interface::EthPortId ethPortId,
                                         const Zim::Ptr<const Lldp::RemoteSystem>& remoteSystem,
                                         const Root::Ptr& root);
    void remoteSystemSmDel(int32_t index);
    void remoteSystemSmDelAll();

    bool hasNotificationActive() const noexcept { return hasNotificationActive_; }
    // Passed on to the reactor and to every neighbour's machine.
    void hasNotificationActiveIs(bool active);

    void handleInitialized();
    void handleRemoteSystem(int32_t index);
    // Removes the interface's neighbours and their sub-rows from the root; to be run before the
    // machine is dropped.
    void doClose();

    std::string strRep() const override;
    // "doClose" ().
    void invoke(std::string_view operation, const std::vector<std::any>& args) override;

private:
    Interface::EthPortId ethPortId_;
    std::unique_ptr<ZimPortStatus> portStatus_;
    Root::Ptr root_;
    std::unordered_map<int32_t, RemoteSystemSm::Ptr> remoteSystemSm_;
    bool initialized_ = false;
    bool hasNotificationActive_ = false;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~PortStatusSm() override;
};

// The neighbour's row first, then its machine, which adds the sub-rows.
void doAddRemoteSystem(PortStatusSm& sm, int32_t index,
                       const Zim::Ptr<const Lldp::RemoteSystem>& remoteSystem);
// The sub-rows first, then the machine, then the neighbour's row.
void doRemoveRemoteSystem(PortStatusSm& sm, int32_t index);

} // namespace Lldp::Snmp
