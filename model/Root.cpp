#include "model/Root.h"

#include "model/LldpSm.h"
#include "model/LocalPortSm.h"
#include "model/PortStatusSm.h"
#include "model/RemoteSystemSm.h"
#include "platform/zim/Exception.h"

namespace Lldp::Snmp {

namespace {

void requirePointer(const void* pointer) {
    if (!pointer)
        Zim::throwRangeException("null ValidPtr");
}

// A collection can outlive the root (an iterator holds it): it must not call back into it, and
// rows still held elsewhere must not name it as their parent.
template <class Map> void detachEntityRows(Map& map) {
    map.onChangeIs(nullptr);
    map.forEach([](const auto&, const auto& row) { row->parentIs(nullptr); });
}

template <class Map> void detachValueRows(Map& map) {
    map.onChangeIs(nullptr);
}

} // namespace

Root::Root(Zim::String8 name) : Entity(std::move(name)) {}

Root::Ptr Root::RootIs(Zim::String8 name) {
    // The constructor is private so that a root is only ever held through a counted pointer.
    return Ptr(new Root(std::move(name)));
}

Root::Ptr rootFactory(Zim::String8 name) {
    return Root::RootIs(std::move(name));
}

Root::~Root() {
    lldpSmDel();
    portStatusSmDelAll();
    localPortSmDelAll();
    detachEntityRows(*portConfig_);
    detachEntityRows(*portStatus_);
    detachEntityRows(*localPort_);
    detachEntityRows(*localManagementAddress_);
    detachEntityRows(*remoteSystem_);
    detachValueRows(*remoteManagementAddress_);
    detachValueRows(*remoteUnknownTlv_);
    detachValueRows(*remoteUnknownOrgDefTlv_);
    detachValueRows(*remotePortAndProtocolVlan_);
    detachValueRows(*remoteVlanName_);
    detachValueRows(*remoteProtocolIdentityInfo_);
    detachValueRows(*remoteMediaPolicy_);
    detachValueRows(*remoteLocation_);
    detachValueRows(*localPortAndProtocolVlan_);
    detachValueRows(*localVlanName_);
    detachValueRows(*localProtocolIdentityInfo_);
    detachValueRows(*localMediaPolicy_);
    detachValueRows(*localLocation_);
}

void Root::throwEntityRowInUse(const std::string& rowName, const void* current,
                               const void* wanted) {
    Zim::throwNameInUseException("Reinstantiating the entity with name " + rowName +
                                 " where constructor parameter attribute _ptr has a different "
                                 "value of " +
                                 pointerText(wanted) + " than the current value of " +
                                 pointerText(current) + " not allowed");
}

// --- local management addresses -------------------------------------------------------------

Zim::Ptr<LocalManagementAddress>
Root::localManagementAddress(const ManagementAddress::Key& key) const {
    const auto* row = localManagementAddress_->find(key);
    return row ? *row : Zim::Ptr<LocalManagementAddress>();
}

Zim::Ptr<LocalManagementAddress>
Root::newLocalManagementAddress(const ManagementAddress::Key& key) {
    if (const auto* replaced = localManagementAddress_->find(key))
        (*replaced)->parentIs(nullptr);
    auto row = Zim::makePtr<LocalManagementAddress>(key);
    row->parentIs(this);
    localManagementAddress_->set(key, row);
    return row;
}

Zim::Ptr<LocalManagementAddress> Root::localManagementAddressIs(const ManagementAddress::Key& key) {
    if (auto existing = localManagementAddress(key))
        return existing;
    return newLocalManagementAddress(key);
}

void Root::localManagementAddressDel(const ManagementAddress::Key& key) {
    const auto* row = localManagementAddress_->find(key);
    if (!row)
        return;
    (*row)->parentIs(nullptr);
    localManagementAddress_->erase(key);
}

void Root::localManagementAddressDelAll() {
    localManagementAddress_->forEach([](const auto&, const auto& row) { row->parentIs(nullptr); });
    localManagementAddress_->clear();
}

void Root::localManagementAddressNotify(const ManagementAddress::Key& key) {
    notifiees_.notify([&](Notifiee& n) { n.onLocalManagementAddress(key); });
}

// --- per-interface state machines -----------------------------------------------------------

Zim::Ptr<PortStatusSm> Root::portStatusSm(const Ifkit::IntfId& intf) const {
    const auto* machine = portStatusSm_.find(intf);
    return machine ? *machine : Zim::Ptr<PortStatusSm>();
}

Zim::Ptr<PortStatusSm> Root::newPortStatusSm(Interface::EthPortId ethPortId,
                                             const Zim::Ptr<const Lldp::PortStatus>& portStatus,
                                             const Ptr& root) {
    requirePointer(portStatus.get());
    requirePointer(root.get());
    auto machine = Zim::makePtr<PortStatusSm>(ethPortId, portStatus, root);
    portStatusSm_.set(Ifkit::IntfId(portStatus->name()), machine);
    return machine;
}

Zim::Ptr<PortStatusSm> Root::portStatusSmIs(Interface::EthPortId ethPortId,
                                            const Zim::Ptr<const Lldp::PortStatus>& portStatus,
                                            const Ptr& root) {
    requirePointer(portStatus.get());
    requirePointer(root.get());
    if (auto existing = portStatusSm(Ifkit::IntfId(portStatus->name()))) {
        if (existing->ethPortId() != ethPortId) {
            throwPointerInterfaceInUse("_ethPortId", Interface::valueToStrep(ethPortId),
                                       Interface::valueToStrep(existing->ethPortId()));
        }
        if (existing->portStatus() != portStatus) {
            throwPointerInterfaceInUse("_portStatus", pointerText(portStatus.get()),
                                       pointerText(existing->portStatus().get()));
        }
        if (existing->root() != root) {
            throwPointerInterfaceInUse("_root", pointerText(root.get()),
                                       pointerText(existing->root().get()));
        }
        return existing;
    }
    auto machine = newPortStatusSm(ethPortId, portStatus, root);
    machine->hasNotificationActiveIs(true);
    return machine;
}

void Root::portStatusSmDel(const Ifkit::IntfId& intf) {
    portStatusSm_.erase(intf);
}

void Root::portStatusSmDelAll() {
    portStatusSm_.clear();
}

Zim::Ptr<LocalPortSm> Root::localPortSm(Interface::EthPortId port) const {
    const auto* machine = localPortSm_.find(port);
    return machine ? *machine : Zim::Ptr<LocalPortSm>();
}

Zim::Ptr<LocalPortSm> Root::localPortSmIs(Interface::EthPortId port,
                                          const Zim::Ptr<const Lldp::LocalPort>& localPort,
                                          const Ptr& root) {
    requirePointer(localPort.get());
    requirePointer(root.get());
    if (auto existing = localPortSm(port)) {
        if (existing->localPort() != localPort) {
            throwPointerInterfaceInUse("_localPort", pointerText(localPort.get()),
                                       pointerText(existing->localPort().get()));
        }
        if (existing->root() != root) {
            throwPointerInterfaceInUse("_root", pointerText(root.get()),
                                       pointerText(existing->root().get()));
        }
        return existing;
    }
    auto machine = Zim::makePtr<LocalPortSm>(port, localPort, root);
    localPortSm_.set(port, machine);
    return machine;
}

void Root::localPortSmDel(Interface::EthPortId port) {
    localPortSm_.erase(port);
}

void Root::localPortSmDelAll() {
    localPortSm_.clear();
}

// --- the top state machine -------------------------------------------------------------------

Zim::Ptr<LldpSm> Root::newLldpSm(const Zim::Ptr<const Lldp::AllStatus>& status,
                                 const Zim::Ptr<const Lldp::LocalSystem>& localSystem,
                                 const Zim::Ptr<const Lldp::Config>& config, const Ptr& root) {
    requirePointer(root.get());
    // The old machine keeps running until the new one has made its first pass.
    lldpSm_ = Zim::makePtr<LldpSm>(status, localSystem, config, root);
    return lldpSm_;
}

Zim::Ptr<LldpSm> Root::lldpSmIs(const Zim::Ptr<const Lldp::AllStatus>& status,
                                const Zim::Ptr<const Lldp::LocalSystem>& localSystem,
                                const Zim::Ptr<const Lldp::Config>& config, const Ptr& root) {
    if (lldpSm_ && lldpSm_->status() == status && lldpSm_->localSystem() == localSystem &&
        lldpSm_->config() == config && lldpSm_->root() == root) {
        return lldpSm_;
    }
    return newLldpSm(status, localSystem, config, root);
}

void Root::lldpSmDel() {
    lldpSm_ = nullptr;
}

} // namespace Lldp::Snmp
