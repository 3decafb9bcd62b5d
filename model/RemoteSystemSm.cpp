#include "model/RemoteSystemSm.h"

#include "model/LldpSm.h"
#include "model/LldpSnmpTrace.h"
#include "platform/zim/Assert.h"
#include "platform/zim/Exception.h"
#include "platform/zim/Jotlog.h"

#include <sstream>

namespace Lldp::Snmp {

namespace {

const Zim::TraceHandle& trace() {
    return lldpSnmpTraceHandle();
}

// "Adding ManagementAddress with key ..." at level 2 and in the Jotlog.
template <class Key> void rowTrace(const char* action, const char* kind, const Key& key) {
    ZTRACE(trace(), 2, action << ' ' << kind << " with key " << valueToStrep(key));
    JOTLOG(action << ' ' << kind << " with key " << valueToStrep(key));
}

// "RemoteSystemSm::handleVlanName( <neighbour key>, <argument> )" at level 2; the argument's
// text is only made when the level is on.
template <class ArgumentText>
void handlerTrace(const RemoteSystemSm& sm, const char* handler, ArgumentText argumentText) {
    ZTRACE(trace(), 2,
           "RemoteSystemSm::" << handler << "( " << valueToStrep(sm.key()) << ", " << argumentText()
                              << " )");
}

} // namespace

// --- reactor -------------------------------------------------------------------------------

void RemoteSystemSm::ZimRemoteSystem::onManagementAddress(const ManagementAddress::Key& key) {
    if (!remoteSystemSm_)
        return;
    const RemoteSystemSm::Ptr keep(remoteSystemSm_);
    keep->handleManagementAddress(key);
}

void RemoteSystemSm::ZimRemoteSystem::onUnknownTlv(const uint32_t& type) {
    if (!remoteSystemSm_)
        return;
    const RemoteSystemSm::Ptr keep(remoteSystemSm_);
    keep->handleUnknownTlv(type);
}

void RemoteSystemSm::ZimRemoteSystem::onUnknownOrgDefTlv(const UnknownOrgDefTlv::Key& key) {
    if (!remoteSystemSm_)
        return;
    const RemoteSystemSm::Ptr keep(remoteSystemSm_);
    keep->handleUnknownOrgDefTlv(key);
}

void RemoteSystemSm::ZimRemoteSystem::onPortAndProtocolVlan(const Bridging::VlanIdOrNone& vlan) {
    if (!remoteSystemSm_)
        return;
    const RemoteSystemSm::Ptr keep(remoteSystemSm_);
    keep->handlePortAndProtocolVlan(vlan);
}

void RemoteSystemSm::ZimRemoteSystem::onVlanName(const Bridging::VlanId& vlan) {
    if (!remoteSystemSm_)
        return;
    const RemoteSystemSm::Ptr keep(remoteSystemSm_);
    keep->handleVlanName(vlan);
}

void RemoteSystemSm::ZimRemoteSystem::onProtocolIdentityInfo(const int32_t& id) {
    if (!remoteSystemSm_)
        return;
    const RemoteSystemSm::Ptr keep(remoteSystemSm_);
    keep->handleProtocolIdentityInfo(id);
}

void RemoteSystemSm::ZimRemoteSystem::onMediaPolicy(const PolicyAppType& type) {
    if (remoteSystemSm_)
        RemoteSystemSm::Ptr(remoteSystemSm_)->handleMediaPolicy(type);
}

void RemoteSystemSm::ZimRemoteSystem::onLocation(const int32_t& subtype) {
    if (remoteSystemSm_)
        RemoteSystemSm::Ptr(remoteSystemSm_)->handleLocation(subtype);
}

void RemoteSystemSm::ZimRemoteSystem::onMedCapabilitiesTlvReceived() {
    if (remoteSystemSm_)
        RemoteSystemSm::Ptr(remoteSystemSm_)->handleMedEndpoint();
}

void RemoteSystemSm::ZimRemoteSystem::onMedDeviceClass() {
    if (remoteSystemSm_)
        RemoteSystemSm::Ptr(remoteSystemSm_)->handleMedEndpoint();
}

// --- the machine ---------------------------------------------------------------------------

RemoteSystemSm::RemoteSystemSm(int32_t index, Interface::EthPortId ethPortId,
                               const Zim::Ptr<const Lldp::RemoteSystem>& remoteSystem,
                               const Root::Ptr& root)
    : index_(index), ethPortId_(ethPortId), root_(root) {
    if (!remoteSystem || !root_)
        Zim::throwRangeException("null ValidPtr");
    remoteSystem_ = std::make_unique<ZimRemoteSystem>(this);
    remoteSystem_->hasNotificationActiveIs(hasNotificationActive_);
    remoteSystem_->notifierIs(remoteSystem);
    handleInitialized();
}

RemoteSystemSm::~RemoteSystemSm() {
    remoteSystem_->remoteSystemSmIs(nullptr);
}

void RemoteSystemSm::hasNotificationActiveIs(bool active) {
    if (active == hasNotificationActive_)
        return;
    hasNotificationActive_ = active;
    remoteSystem_->hasNotificationActiveIs(active);
}

void RemoteSystemSm::handleInitialized() {
    ZIM_ASSERT(!initialized());
    initialized_ = true;
    ZTRACE(trace(), 1, "RemoteSystemSm::handleInitialized( " << valueToStrep(key()) << " )");
    const auto& neighbour = *remoteSystem();
    // The fixed order of the sub-tables; within one, the agent collection's own order.
    for (const auto& [memberKey, member] : neighbour.managementAddress()) {
        doAddManagementAddress(*this, member);
    }
    for (const auto& [memberKey, member] : neighbour.unknownTlv())
        doAddUnknownTlv(*this, member);
    for (const auto& [memberKey, member] : neighbour.unknownOrgDefTlv()) {
        doAddUnknownOrgDefTlv(*this, member);
    }
    for (const auto& [memberKey, member] : neighbour.portAndProtocolVlan()) {
        doAddPortAndProtocolVlan(*this, member);
    }
    for (const auto& [memberKey, member] : neighbour.vlanName())
        doAddVlanName(*this, member);
    for (const auto& [memberKey, member] : neighbour.protocolIdentityInfo()) {
        doAddProtocolIdentityInfo(*this, member);
    }
    for (const auto& [memberKey, member] : neighbour.mediaPolicy())
        doAddMediaPolicy(*this, member);
    for (const auto& [memberKey, member] : neighbour.location())
        doAddLocation(*this, member);
    handleMedEndpoint();
}

void RemoteSystemSm::handleMediaPolicy(PolicyAppType type) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handleMediaPolicy", [&] { return Lldp::valueToStrep(type); });
    if (const auto* member = remoteSystem()->mediaPolicy().find(type)) {
        doAddMediaPolicy(*this, *member);
    } else {
        doRemoveMediaPolicy(*this, type);
    }
}

void RemoteSystemSm::handleLocation(int32_t subtype) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handleLocation", [&] { return std::to_string(subtype); });
    if (const auto* member = remoteSystem()->location().find(subtype)) {
        doAddLocation(*this, *member);
    } else {
        doRemoveLocation(*this, subtype);
    }
}

namespace {

bool isMedEndpoint(const Lldp::RemoteSystem& neighbour) {
    return neighbour.medCapabilitiesTlvReceived() && neighbour.medDeviceClass() >= 1 &&
           neighbour.medDeviceClass() <= 3;
}

// Tells the top machine of a MED endpoint that appeared on or left the port, when the port
// has MED notifications switched on.
void medTopologyChanged(const RemoteSystemSm& sm) {
    const auto& root = sm.root();
    const auto portConfig = root->portConfig(sm.ethPortId());
    if (!portConfig || !portConfig->ptr() || !portConfig->ptr()->medNotifEnable()) {
        ZTRACE(trace(), 4,
               "No lldpXMedTopologyChangeDetected for " << valueToStrep(sm.key())
                                                        << ": not enabled on the port");
        return;
    }
    if (const auto& lldpSm = root->lldpSm())
        lldpSm->handleMedTopologyChange(sm.remoteSystem(), sm.ethPortId(), sm.index());
}

} // namespace

void RemoteSystemSm::handleMedEndpoint() {
    const bool endpoint = isMedEndpoint(*remoteSystem());
    if (endpoint == medEndpoint_)
        return;
    medEndpoint_ = endpoint;
    medTopologyChanged(*this);
}

void RemoteSystemSm::handleManagementAddress(const ManagementAddress::Key& key) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handleManagementAddress", [&] { return Lldp::valueToStrep(key); });
    if (const auto* member = remoteSystem()->managementAddress().find(key)) {
        doAddManagementAddress(*this, *member);
    } else {
        doRemoveManagementAddress(*this, key);
    }
}

void RemoteSystemSm::handleUnknownTlv(uint32_t type) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handleUnknownTlv", [&] { return std::to_string(type); });
    if (const auto* member = remoteSystem()->unknownTlv().find(type)) {
        doAddUnknownTlv(*this, *member);
    } else {
        doRemoveUnknownTlv(*this, type);
    }
}

void RemoteSystemSm::handleUnknownOrgDefTlv(const UnknownOrgDefTlv::Key& key) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handleUnknownOrgDefTlv", [&] { return Lldp::valueToStrep(key); });
    if (const auto* member = remoteSystem()->unknownOrgDefTlv().find(key)) {
        doAddUnknownOrgDefTlv(*this, *member);
    } else {
        doRemoveUnknownOrgDefTlv(*this, key);
    }
}

void RemoteSystemSm::handlePortAndProtocolVlan(Bridging::VlanIdOrNone vlan) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handlePortAndProtocolVlan", [&] { return Bridging::valueToStrep(vlan); });
    if (const auto* member = remoteSystem()->portAndProtocolVlan().find(vlan)) {
        doAddPortAndProtocolVlan(*this, *member);
    } else {
        doRemovePortAndProtocolVlan(*this, vlan);
    }
}

void RemoteSystemSm::handleVlanName(Bridging::VlanId vlan) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handleVlanName", [&] { return Bridging::valueToStrep(vlan); });
    if (const auto* member = remoteSystem()->vlanName().find(vlan)) {
        doAddVlanName(*this, *member);
    } else {
        doRemoveVlanName(*this, vlan);
    }
}

void RemoteSystemSm::handleProtocolIdentityInfo(int32_t id) {
    ZIM_ASSERT(initialized());
    handlerTrace(*this, "handleProtocolIdentityInfo", [&] { return std::to_string(id); });
    if (const auto* member = remoteSystem()->protocolIdentityInfo().find(id)) {
        doAddProtocolIdentityInfo(*this, *member);
    } else {
        doRemoveProtocolIdentityInfo(*this, id);
    }
}

void RemoteSystemSm::doClose() {
    ZIM_ASSERT(initialized());
    ZTRACE(trace(), 1, "RemoteSystemSm::doClose( " << valueToStrep(key()) << " )");
    const auto& neighbour = *remoteSystem();
    // Keys are taken from the members exactly as the adds took them, so every row added for a
    // member still present is found again.
    for (const auto& [memberKey, member] : neighbour.managementAddress()) {
        doRemoveManagementAddress(*this, member.key());
    }
    for (const auto& [memberKey, member] : neighbour.unknownTlv()) {
        doRemoveUnknownTlv(*this, member.type());
    }
    for (const auto& [memberKey, member] : neighbour.unknownOrgDefTlv()) {
        doRemoveUnknownOrgDefTlv(*this, member.key());
    }
    for (const auto& [memberKey, member] : neighbour.portAndProtocolVlan()) {
        doRemovePortAndProtocolVlan(*this, member.id());
    }
    for (const auto& [memberKey, member] : neighbour.vlanName()) {
        doRemoveVlanName(*this, member.id());
    }
    for (const auto& [memberKey, member] : neighbour.protocolIdentityInfo()) {
        doRemoveProtocolIdentityInfo(*this, member.index());
    }
    for (const auto& [memberKey, member] : neighbour.mediaPolicy())
        doRemoveMediaPolicy(*this, member.appType);
    for (const auto& [memberKey, member] : neighbour.location())
        doRemoveLocation(*this, member.subtype());
    // The endpoint leaves the port with its rows.
    if (medEndpoint_) {
        medEndpoint_ = false;
        medTopologyChanged(*this);
    }
}

std::string RemoteSystemSm::strRep() const {
    return "Lldp::Snmp::RemoteSystemSm(" + valueToStrep(key()) + ")";
}

void RemoteSystemSm::invoke(std::string_view operation, const std::vector<std::any>& args) {
    if (operation == "doClose")
        return doClose();
    GenericIf::invoke(operation, args);
}

// --- row operations ------------------------------------------------------------------------

void doAddManagementAddress(RemoteSystemSm& sm, const ManagementAddress& member) {
    const RemoteManagementAddressKey key(sm.ethPortId(), sm.index(), member.key());
    rowTrace("Adding", "ManagementAddress", key);
    sm.root()->remoteManagementAddressIs(RemoteManagementAddress{key, sm.remoteSystem(), member});
}

void doAddUnknownTlv(RemoteSystemSm& sm, const UnknownTlv& member) {
    const RemoteUnknownTlvKey key(sm.ethPortId(), sm.index(), member.type());
    rowTrace("Adding", "UnknownTlv", key);
    sm.root()->remoteUnknownTlvIs(RemoteUnknownTlv{key, sm.remoteSystem(), member});
}

void doAddUnknownOrgDefTlv(RemoteSystemSm& sm, const UnknownOrgDefTlv& member) {
    const auto& memberKey = member.key();
    const RemoteUnknownOrgDefTlvKey key(sm.ethPortId(), sm.index(), memberKey.oui(),
                                        memberKey.subtype(), memberKey.index());
    rowTrace("Adding", "UnknownOrgDefTlv", key);
    sm.root()->remoteUnknownOrgDefTlvIs(RemoteUnknownOrgDefTlv{key, sm.remoteSystem(), member});
}

void doAddPortAndProtocolVlan(RemoteSystemSm& sm, const PortAndProtocolVlan& member) {
    const RemotePortAndProtocolVlanKey key(sm.ethPortId(), sm.index(), member.id());
    rowTrace("Adding", "PortAndProtocolVlan", key);
    sm.root()->remotePortAndProtocolVlanIs(
        RemotePortAndProtocolVlan{key, sm.remoteSystem(), member});
}

void doAddVlanName(RemoteSystemSm& sm, const VlanName& member) {
    const RemoteVlanNameKey key(sm.ethPortId(), sm.index(), member.id());
    rowTrace("Adding", "VlanName", key);
    sm.root()->remoteVlanNameIs(RemoteVlanName{key, sm.remoteSystem(), member});
}

void doAddProtocolIdentityInfo(RemoteSystemSm& sm, const ProtocolIdentityInfo& member) {
    const RemoteProtocolIdentityInfoKey key(sm.ethPortId(), sm.index(), member.index());
    rowTrace("Adding", "ProtocolIdentityInfo", key);
    sm.root()->remoteProtocolIdentityInfoIs(
        RemoteProtocolIdentityInfo{key, sm.remoteSystem(), member});
}

void doAddMediaPolicy(RemoteSystemSm& sm, const MediaPolicy& member) {
    const RemoteMediaPolicyKey key(sm.ethPortId(), sm.index(), member.appType);
    rowTrace("Adding", "MediaPolicy", key);
    sm.root()->remoteMediaPolicyIs(RemoteMediaPolicy{key, sm.remoteSystem(), member});
}

void doAddLocation(RemoteSystemSm& sm, const MedLocation& member) {
    const RemoteLocationKey key(sm.ethPortId(), sm.index(), member.subtype());
    rowTrace("Adding", "Location", key);
    sm.root()->remoteLocationIs(RemoteLocation{key, sm.remoteSystem(), member});
}

void doRemoveMediaPolicy(RemoteSystemSm& sm, PolicyAppType type) {
    const RemoteMediaPolicyKey key(sm.ethPortId(), sm.index(), type);
    rowTrace("Removing", "MediaPolicy", key);
    sm.root()->remoteMediaPolicyDel(key);
}

void doRemoveLocation(RemoteSystemSm& sm, int32_t subtype) {
    const RemoteLocationKey key(sm.ethPortId(), sm.index(), subtype);
    rowTrace("Removing", "Location", key);
    sm.root()->remoteLocationDel(key);
}

void doRemoveManagementAddress(RemoteSystemSm& sm, const ManagementAddress::Key& memberKey) {
    const RemoteManagementAddressKey key(sm.ethPortId(), sm.index(), memberKey);
    rowTrace("Removing", "ManagementAddress", key);
    sm.root()->remoteManagementAddressDel(key);
}

void doRemoveUnknownTlv(RemoteSystemSm& sm, uint32_t type) {
    const RemoteUnknownTlvKey key(sm.ethPortId(), sm.index(), type);
    rowTrace("Removing", "UnknownTlv", key);
    sm.root()->remoteUnknownTlvDel(key);
}

void doRemoveUnknownOrgDefTlv(RemoteSystemSm& sm, const UnknownOrgDefTlv::Key& memberKey) {
    const RemoteUnknownOrgDefTlvKey key(sm.ethPortId(), sm.index(), memberKey.oui(),
                                        memberKey.subtype(), memberKey.index());
    rowTrace("Removing", "UnknownOrgDefTlv", key);
    sm.root()->remoteUnknownOrgDefTlvDel(key);
}

void doRemovePortAndProtocolVlan(RemoteSystemSm& sm, Bridging::VlanIdOrNone vlan) {
    const RemotePortAndProtocolVlanKey key(sm.ethPortId(), sm.index(), vlan);
    rowTrace("Removing", "PortAndProtocolVlan", key);
    sm.root()->remotePortAndProtocolVlanDel(key);
}

void doRemoveVlanName(RemoteSystemSm& sm, Bridging::VlanId vlan) {
    const RemoteVlanNameKey key(sm.ethPortId(), sm.index(), vlan);
    rowTrace("Removing", "VlanName", key);
    sm.root()->remoteVlanNameDel(key);
}

void doRemoveProtocolIdentityInfo(RemoteSystemSm& sm, int32_t id) {
    const RemoteProtocolIdentityInfoKey key(sm.ethPortId(), sm.index(), id);
    rowTrace("Removing", "ProtocolIdentityInfo", key);
    sm.root()->remoteProtocolIdentityInfoDel(key);
}

// --- constructor-parameter conflicts -------------------------------------------------------

void throwPointerInterfaceInUse(std::string_view attribute, const std::string& wanted,
                                const std::string& current) {
    Zim::throwNameInUseException(
        "Reinstantiating the pointer interface where constructor parameter attribute " +
        std::string(attribute) + " has a different value of " + wanted +
        " than the current value of " + current + " not allowed");
}

std::string pointerText(const void* pointer) {
    if (!pointer)
        return "None";
    std::ostringstream os;
    os << pointer;
    return os.str();
}

} // namespace Lldp::Snmp
