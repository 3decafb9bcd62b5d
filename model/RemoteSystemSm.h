#pragma once
// Mirrors one neighbour's six sub-tables (management addresses, unknown TLVs, organisationally
// defined TLVs, port-and-protocol VLANs, VLAN names, protocol identities) into the root. The
// neighbour's own row is its PortStatusSm's business: it exists before this machine adds
// anything and goes after this machine has removed everything.
#include "model/Root.h"
#include "platform/lldp/RemoteSystem.h"
#include "platform/zim/Generic.h"
#include "platform/zim/Ptr.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Lldp::Snmp {

class RemoteSystemSm : public Zim::PtrInterface, public Zim::GenericIf {
public:
    using Ptr = Zim::Ptr<RemoteSystemSm>;

    // Forwards changes of the neighbour's sub-table members.
    class ZimRemoteSystem : public Lldp::RemoteSystem::Notifiee {
    public:
        explicit ZimRemoteSystem(RemoteSystemSm* remoteSystemSm) noexcept
            : remoteSystemSm_(remoteSystemSm) {}
        RemoteSystemSm* remoteSystemSm() const noexcept { return remoteSystemSm_; }
        void remoteSystemSmIs(RemoteSystemSm* remoteSystemSm) noexcept {
            remoteSystemSm_ = remoteSystemSm;
        }
        void onManagementAddress(const ManagementAddress::Key& key) override;
        void onUnknownTlv(const uint32_t& type) override;
        void onUnknownOrgDefTlv(const UnknownOrgDefTlv::Key& key) override;
        void onPortAndProtocolVlan(const Bridging::VlanIdOrNone& vlan) override;
        void onVlanName(const Bridging::VlanId& vlan) override;
        void onProtocolIdentityInfo(const int32_t& id) override;
        void onMediaPolicy(const PolicyAppType& type) override;
        void onLocation(const int32_t& subtype) override;
        void onMedCapabilitiesTlvReceived() override;
        void onMedDeviceClass() override;

    private:
        RemoteSystemSm* remoteSystemSm_; // the owner, which outlives its reactor
    };

    // Adds the neighbour's sub-rows before returning. The reactor starts muted; the owner turns
    // it on with hasNotificationActiveIs(true).
    RemoteSystemSm(int32_t index, Interface::EthPortId ethPortId,
                   const Zim::Ptr<const Lldp::RemoteSystem>& remoteSystem, const Root::Ptr& root);
    RemoteSystemSm(const RemoteSystemSm&) = delete;
    RemoteSystemSm& operator=(const RemoteSystemSm&) = delete;

    int32_t index() const noexcept { return index_; }
    Interface::EthPortId ethPortId() const noexcept { return ethPortId_; }
    const Zim::Ptr<const Lldp::RemoteSystem>& remoteSystem() const noexcept {
        return remoteSystem_->notifier();
    }
    const Root::Ptr& root() const noexcept { return root_; }
    // The neighbour's key in the root, the first part of every sub-row key.
    RemoteSystemKey key() const { return RemoteSystemKey(ethPortId_, index_); }
    bool initialized() const noexcept { return initialized_; }

    bool hasNotificationActive() const noexcept { return hasNotificationActive_; }
    void hasNotificationActiveIs(bool active);

    void handleInitialized();
    void handleManagementAddress(const ManagementAddress::Key& key);
    void handleUnknownTlv(uint32_t type);
    void handleUnknownOrgDefTlv(const UnknownOrgDefTlv::Key& key);
    void handlePortAndProtocolVlan(Bridging::VlanIdOrNone vlan);
    void handleVlanName(Bridging::VlanId vlan);
    void handleProtocolIdentityInfo(int32_t id);
    void handleMediaPolicy(PolicyAppType type);
    void handleLocation(int32_t subtype);
    // The neighbour became, or stopped being, a MED endpoint: the port may have to say so.
    void handleMedEndpoint();
    // Whether the neighbour is a MED endpoint (it sends MED capabilities, device class 1..3).
    bool medEndpoint() const noexcept { return medEndpoint_; }
    // Removes every sub-row of the neighbour from the root.
    void doClose();

    std::string strRep() const override;
    // "doClose" ().
    void invoke(std::string_view operation, const std::vector<std::any>& args) override;

private:
    int32_t index_;
    Interface::EthPortId ethPortId_;
    std::unique_ptr<ZimRemoteSystem> remoteSystem_;
    Root::Ptr root_;
    bool initialized_ = false;
    bool hasNotificationActive_ = false;
    bool medEndpoint_ = false;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~RemoteSystemSm() override;
};

// Each add builds the whole row again from the agent's member and stores it over any row of the
// same key; each remove deletes by key (an absent row is no error).
void doAddManagementAddress(RemoteSystemSm& sm, const ManagementAddress& member);
void doAddUnknownTlv(RemoteSystemSm& sm, const UnknownTlv& member);
void doAddUnknownOrgDefTlv(RemoteSystemSm& sm, const UnknownOrgDefTlv& member);
void doAddPortAndProtocolVlan(RemoteSystemSm& sm, const PortAndProtocolVlan& member);
void doAddVlanName(RemoteSystemSm& sm, const VlanName& member);
void doAddProtocolIdentityInfo(RemoteSystemSm& sm, const ProtocolIdentityInfo& member);
void doAddMediaPolicy(RemoteSystemSm& sm, const MediaPolicy& member);
void doAddLocation(RemoteSystemSm& sm, const MedLocation& member);
void doRemoveMediaPolicy(RemoteSystemSm& sm, PolicyAppType type);
void doRemoveLocation(RemoteSystemSm& sm, int32_t subtype);
void doRemoveManagementAddress(RemoteSystemSm& sm, const ManagementAddress::Key& key);
void doRemoveUnknownTlv(RemoteSystemSm& sm, uint32_t type);
void doRemoveUnknownOrgDefTlv(RemoteSystemSm& sm, const UnknownOrgDefTlv::Key& key);
void doRemovePortAndProtocolVlan(RemoteSystemSm& sm, Bridging::VlanIdOrNone vlan);
void doRemoveVlanName(RemoteSystemSm& sm, Bridging::VlanId vlan);
void doRemoveProtocolIdentityInfo(RemoteSystemSm& sm, int32_t id);

// The refusal of a state machine asked for again with another constructor parameter:
// "Reinstantiating the pointer interface where constructor parameter attribute <attribute> has a
// different value of <wanted> than the current value of <current> not allowed".
[[noreturn]] void throwPointerInterfaceInUse(std::string_view attribute, const std::string& wanted,
                                             const std::string& current);
// How a constructor parameter that is an entity appears in that text.
std::string pointerText(const void* pointer);

} // namespace Lldp::Snmp
