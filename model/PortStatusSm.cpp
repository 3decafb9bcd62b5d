#include "model/PortStatusSm.h"

#include "model/LldpSnmpTrace.h"
#include "platform/zim/Assert.h"
#include "platform/zim/Exception.h"
#include "platform/zim/Jotlog.h"

#include <algorithm>
#include <vector>

namespace Lldp::Snmp {

namespace {

const Zim::TraceHandle& trace() {
    return lldpSnmpTraceHandle();
}

void rowTrace(const char* action, const RemoteSystemKey& key) {
    ZTRACE(trace(), 2, action << " RemoteSystem with key " << valueToStrep(key));
    JOTLOG(action << " RemoteSystem with key " << valueToStrep(key));
}

} // namespace

void PortStatusSm::ZimPortStatus::onRemoteSystem(const int32_t& index) {
    if (!portStatusSm_)
        return;
    const PortStatusSm::Ptr keep(portStatusSm_);
    keep->handleRemoteSystem(index);
}

PortStatusSm::PortStatusSm(Interface::EthPortId ethPortId,
                           const Zim::Ptr<const Lldp::PortStatus>& portStatus,
                           const Root::Ptr& root)
    : ethPortId_(ethPortId), root_(root) {
    if (!root_)
        Zim::throwRangeException("null ValidPtr");
    if (portStatus) {
        portStatus_ = std::make_unique<ZimPortStatus>(this);
        portStatus_->hasNotificationActiveIs(hasNotificationActive_);
        portStatus_->notifierIs(portStatus);
    }
    handleInitialized();
}

PortStatusSm::~PortStatusSm() {
    if (portStatus_)
        portStatus_->portStatusSmIs(nullptr);
    remoteSystemSmDelAll();
}

Zim::Ptr<const Lldp::PortStatus> PortStatusSm::portStatus() const {
    return portStatus_ ? portStatus_->notifier() : Zim::Ptr<const Lldp::PortStatus>();
}

RemoteSystemSm::Ptr PortStatusSm::remoteSystemSm(int32_t index) const {
    auto it = remoteSystemSm_.find(index);
    return it == remoteSystemSm_.end() ? RemoteSystemSm::Ptr() : it->second;
}

RemoteSystemSm::Ptr
PortStatusSm::remoteSystemSmIs(int32_t index, Interface::EthPortId ethPortId,
                               const Zim::Ptr<const Lldp::RemoteSystem>& remoteSystem,
                               const Root::Ptr& root) {
    if (!remoteSystem || !root)
        Zim::throwRangeException("null ValidPtr");
    if (const auto existing = remoteSystemSm(index)) {
        if (existing->ethPortId() != ethPortId) {
            throwPointerInterfaceInUse("_ethPortId", Interface::valueToStrep(ethPortId),
                                       Interface::valueToStrep(existing->ethPortId()));
        }
        if (existing->remoteSystem() != remoteSystem) {
            throwPointerInterfaceInUse("_remoteSystem", pointerText(remoteSystem.get()),
                                       pointerText(existing->remoteSystem().get()));
        }
        if (existing->root() != root) {
            throwPointerInterfaceInUse("_root", pointerText(root.get()),
                                       pointerText(existing->root().get()));
        }
        return existing;
    }
    const auto made = Zim::makePtr<RemoteSystemSm>(index, ethPortId, remoteSystem, root);
    remoteSystemSm_[index] = made;
    made->hasNotificationActiveIs(true);
    return made;
}

void PortStatusSm::remoteSystemSmDel(int32_t index) {
    remoteSystemSm_.erase(index);
}

void PortStatusSm::remoteSystemSmDelAll() {
    remoteSystemSm_.clear();
}

void PortStatusSm::hasNotificationActiveIs(bool active) {
    if (active == hasNotificationActive_)
        return;
    hasNotificationActive_ = active;
    if (portStatus_)
        portStatus_->hasNotificationActiveIs(active);
    for (const auto& [index, machine] : remoteSystemSm_)
        machine->hasNotificationActiveIs(active);
}

void PortStatusSm::handleInitialized() {
    ZIM_ASSERT(!initialized());
    initialized_ = true;
    ZTRACE(trace(), 1,
           "PortStatusSm::handleInitialized( " << Interface::valueToStrep(ethPortId_) << " )");
    const auto status = portStatus();
    if (!status)
        return;
    for (const auto& [index, neighbour] : status->remoteSystem())
        doAddRemoteSystem(*this, index, neighbour);
}

void PortStatusSm::handleRemoteSystem(int32_t index) {
    ZIM_ASSERT(initialized());
    ZTRACE(trace(), 2,
           "PortStatusSm::handleRemoteSystem( " << Interface::valueToStrep(ethPortId_) << ", "
                                                << index << " )");
    const auto status = portStatus();
    const auto* neighbour = status ? status->remoteSystem().find(index) : nullptr;
    if (neighbour && *neighbour) {
        doAddRemoteSystem(*this, index, *neighbour);
    } else {
        doRemoveRemoteSystem(*this, index);
    }
}

void PortStatusSm::doClose() {
    ZIM_ASSERT(initialized());
    ZTRACE(trace(), 1, "PortStatusSm::doClose( " << Interface::valueToStrep(ethPortId_) << " )");
    // The agent's neighbours, and any this machine still holds that the agent no longer lists
    // (missed while muted): everything this machine put into the root goes.
    std::vector<int32_t> indexes;
    if (const auto status = portStatus())
        indexes = status->remoteSystem().keys();
    for (const auto& [index, machine] : remoteSystemSm_) {
        if (std::find(indexes.begin(), indexes.end(), index) == indexes.end())
            indexes.push_back(index);
    }
    for (const int32_t index : indexes)
        doRemoveRemoteSystem(*this, index);
}

std::string PortStatusSm::strRep() const {
    return "Lldp::Snmp::PortStatusSm(" + Interface::valueToStrep(ethPortId_) + ")";
}

void PortStatusSm::invoke(std::string_view operation, const std::vector<std::any>& args) {
    if (operation == "doClose")
        return doClose();
    GenericIf::invoke(operation, args);
}

void doAddRemoteSystem(PortStatusSm& sm, int32_t index,
                       const Zim::Ptr<const Lldp::RemoteSystem>& remoteSystem) {
    const RemoteSystemKey key(sm.ethPortId(), index);
    rowTrace("Adding", key);
    // A different neighbour under a known index is refused before anything changes, with the
    // machine's own words rather than the row's.
    if (sm.remoteSystemSm(index))
        sm.remoteSystemSmIs(index, sm.ethPortId(), remoteSystem, sm.root());
    sm.root()->remoteSystemIs(key, remoteSystem);
    sm.remoteSystemSmIs(index, sm.ethPortId(), remoteSystem, sm.root());
}

void doRemoveRemoteSystem(PortStatusSm& sm, int32_t index) {
    const RemoteSystemKey key(sm.ethPortId(), index);
    rowTrace("Removing", key);
    if (const auto machine = sm.remoteSystemSm(index))
        machine->doClose();
    sm.remoteSystemSmDel(index);
    sm.root()->remoteSystemDel(key);
}

} // namespace Lldp::Snmp
