#pragma once
// Mirrors the members of one local port into the root: the IEEE 802.1 port-and-protocol VLANs,
// VLAN names and protocol identities it can send (each with its transmit flag) and the LLDP-MED
// network policies and locations it advertises. The port's own row is the host glue's business.
#include "model/Root.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/zim/Ptr.h"

#include <memory>
#include <string>

namespace Lldp::Snmp {

class LocalPortSm : public Zim::PtrInterface {
public:
    using Ptr = Zim::Ptr<LocalPortSm>;

    // Forwards changes of the port's members.
    class ZimLocalPort : public Lldp::LocalPort::Notifiee {
    public:
        explicit ZimLocalPort(LocalPortSm* sm) noexcept : sm_(sm) {}
        void localPortSmIs(LocalPortSm* sm) noexcept { sm_ = sm; }
        void onPortAndProtocolVlan(const Bridging::VlanIdOrNone& vlan) override;
        void onVlanName(const Bridging::VlanId& vlan) override;
        void onProtocolIdentityInfo(const int32_t& index) override;
        void onMediaPolicy(const PolicyAppType& type) override;
        void onLocation(const int32_t& subtype) override;

    private:
        LocalPortSm* sm_; // the owner, which outlives its reactor
    };

    // Adds the port's member rows before returning.
    LocalPortSm(Interface::EthPortId ethPortId, const Zim::Ptr<const Lldp::LocalPort>& localPort,
                const Root::Ptr& root);
    LocalPortSm(const LocalPortSm&) = delete;
    LocalPortSm& operator=(const LocalPortSm&) = delete;

    Interface::EthPortId ethPortId() const noexcept { return ethPortId_; }
    const Zim::Ptr<const Lldp::LocalPort>& localPort() const noexcept {
        return localPort_->notifier();
    }
    const Root::Ptr& root() const noexcept { return root_; }

    void handlePortAndProtocolVlan(Bridging::VlanIdOrNone vlan);
    void handleVlanName(Bridging::VlanId vlan);
    void handleProtocolIdentityInfo(int32_t index);
    void handleMediaPolicy(PolicyAppType type);
    void handleLocation(int32_t subtype);
    // Removes every member row of the port from the root; run before the machine is dropped.
    void doClose();

private:
    Interface::EthPortId ethPortId_;
    std::unique_ptr<ZimLocalPort> localPort_;
    Root::Ptr root_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~LocalPortSm() override;
};

} // namespace Lldp::Snmp
