#include "model/LocalPortSm.h"

#include "model/LldpSnmpTrace.h"
#include "platform/zim/Exception.h"
#include "platform/zim/Jotlog.h"

namespace Lldp::Snmp {

namespace {

const Zim::TraceHandle& trace() {
    return lldpSnmpTraceHandle();
}

template <class Key> void rowTrace(const char* action, const char* kind, const Key& key) {
    ZTRACE(trace(), 2, action << ' ' << kind << " with key " << valueToStrep(key));
    JOTLOG(action << ' ' << kind << " with key " << valueToStrep(key));
}

// One kind of member: where the agent keeps it and where the root mirrors it.
template <class Row, class Members, class Set, class Del>
void mirrorMember(const char* kind, const typename Row::Key& key, const Members& members, Set&& set,
                  Del&& del) {
    if (const auto* member = members.find(key.sub)) {
        rowTrace("Adding", kind, key);
        set(Row{key, *member});
    } else {
        rowTrace("Removing", kind, key);
        del(key);
    }
}

} // namespace

void LocalPortSm::ZimLocalPort::onPortAndProtocolVlan(const Bridging::VlanIdOrNone& vlan) {
    if (sm_)
        LocalPortSm::Ptr(sm_)->handlePortAndProtocolVlan(vlan);
}
void LocalPortSm::ZimLocalPort::onVlanName(const Bridging::VlanId& vlan) {
    if (sm_)
        LocalPortSm::Ptr(sm_)->handleVlanName(vlan);
}
void LocalPortSm::ZimLocalPort::onProtocolIdentityInfo(const int32_t& index) {
    if (sm_)
        LocalPortSm::Ptr(sm_)->handleProtocolIdentityInfo(index);
}
void LocalPortSm::ZimLocalPort::onMediaPolicy(const PolicyAppType& type) {
    if (sm_)
        LocalPortSm::Ptr(sm_)->handleMediaPolicy(type);
}
void LocalPortSm::ZimLocalPort::onLocation(const int32_t& subtype) {
    if (sm_)
        LocalPortSm::Ptr(sm_)->handleLocation(subtype);
}

LocalPortSm::LocalPortSm(Interface::EthPortId ethPortId,
                         const Zim::Ptr<const Lldp::LocalPort>& localPort, const Root::Ptr& root)
    : ethPortId_(ethPortId), root_(root) {
    if (!localPort || !root_)
        Zim::throwRangeException("null ValidPtr");
    localPort_ = std::make_unique<ZimLocalPort>(this);
    localPort_->notifierIs(localPort);
    ZTRACE(trace(), 1, "LocalPortSm::handleInitialized( " << ethPortId_.value() << " )");
    const auto& port = *localPort;
    for (const auto& key : port.portAndProtocolVlan().keys())
        handlePortAndProtocolVlan(key);
    for (const auto& key : port.vlanName().keys())
        handleVlanName(key);
    for (const auto& key : port.protocolIdentityInfo().keys())
        handleProtocolIdentityInfo(key);
    for (const auto& key : port.mediaPolicy().keys())
        handleMediaPolicy(key);
    for (const auto& key : port.location().keys())
        handleLocation(key);
}

LocalPortSm::~LocalPortSm() {
    localPort_->localPortSmIs(nullptr);
}

void LocalPortSm::handlePortAndProtocolVlan(Bridging::VlanIdOrNone vlan) {
    mirrorMember<LocalPortAndProtocolVlan>(
        "LocalPortAndProtocolVlan", {ethPortId_, vlan}, localPort()->portAndProtocolVlan(),
        [&](const auto& row) { root_->localPortAndProtocolVlanIs(row); },
        [&](const auto& key) { root_->localPortAndProtocolVlanDel(key); });
}

void LocalPortSm::handleVlanName(Bridging::VlanId vlan) {
    mirrorMember<LocalVlanName>(
        "LocalVlanName", {ethPortId_, vlan}, localPort()->vlanName(),
        [&](const auto& row) { root_->localVlanNameIs(row); },
        [&](const auto& key) { root_->localVlanNameDel(key); });
}

void LocalPortSm::handleProtocolIdentityInfo(int32_t index) {
    mirrorMember<LocalProtocolIdentityInfo>(
        "LocalProtocolIdentityInfo", {ethPortId_, index}, localPort()->protocolIdentityInfo(),
        [&](const auto& row) { root_->localProtocolIdentityInfoIs(row); },
        [&](const auto& key) { root_->localProtocolIdentityInfoDel(key); });
}

void LocalPortSm::handleMediaPolicy(PolicyAppType type) {
    mirrorMember<LocalMediaPolicy>(
        "LocalMediaPolicy", {ethPortId_, type}, localPort()->mediaPolicy(),
        [&](const auto& row) { root_->localMediaPolicyIs(row); },
        [&](const auto& key) { root_->localMediaPolicyDel(key); });
}

void LocalPortSm::handleLocation(int32_t subtype) {
    mirrorMember<LocalLocation>(
        "LocalLocation", {ethPortId_, subtype}, localPort()->location(),
        [&](const auto& row) { root_->localLocationIs(row); },
        [&](const auto& key) { root_->localLocationDel(key); });
}

void LocalPortSm::doClose() {
    ZTRACE(trace(), 1, "LocalPortSm::doClose( " << ethPortId_.value() << " )");
    const auto& port = *localPort();
    for (const auto& key : port.portAndProtocolVlan().keys())
        root_->localPortAndProtocolVlanDel({ethPortId_, key});
    for (const auto& key : port.vlanName().keys())
        root_->localVlanNameDel({ethPortId_, key});
    for (const auto& key : port.protocolIdentityInfo().keys())
        root_->localProtocolIdentityInfoDel({ethPortId_, key});
    for (const auto& key : port.mediaPolicy().keys())
        root_->localMediaPolicyDel({ethPortId_, key});
    for (const auto& key : port.location().keys())
        root_->localLocationDel({ethPortId_, key});
}

} // namespace Lldp::Snmp
