#pragma once
// The keys of the tables that list a port's or a neighbour's members: the local 802.1 tables
// (port-and-protocol VLANs, VLAN names, protocol identities) and the LLDP-MED policy and
// location tables, local and remote. Like every key, each orders as its table's INDEX does: the
// port number first, then the neighbour's index (remote keys), then the member's own field.
#include "model/RemoteKeys.h"

#include <string>
#include <tuple>

namespace Lldp::Snmp {

namespace SubKeyText {
inline std::string of(const Bridging::VlanIdOrNone& v) {
    return Bridging::valueToStrep(v);
}
inline std::string of(const Bridging::VlanId& v) {
    return Bridging::valueToStrep(v);
}
inline std::string of(int32_t v) {
    return std::to_string(v);
}
inline std::string of(const PolicyAppType& v) {
    return Lldp::valueToStrep(v);
}
} // namespace SubKeyText

// (port, member): a local port's member.
template <class Sub, const char* TypeName, const char* Field>
struct LocalSubKey : KeyOrder<LocalSubKey<Sub, TypeName, Field>> {
    using SubType = Sub;
    static constexpr const char* typeName = TypeName;
    LocalSubKey() = default;
    LocalSubKey(Interface::EthPortId e, Sub s) : ethPortId(e), sub(s) {}
    auto fields() const { return std::tie(ethPortId, sub); }
    Interface::EthPortId ethPortId;
    Sub sub{};
};

// (port, neighbour index, member): a neighbour's member.
template <class Sub, const char* TypeName, const char* Field>
struct RemoteSubKey : KeyOrder<RemoteSubKey<Sub, TypeName, Field>> {
    using SubType = Sub;
    static constexpr const char* typeName = TypeName;
    RemoteSubKey() = default;
    RemoteSubKey(Interface::EthPortId e, int32_t i, Sub s) : ethPortId(e), index(i), sub(s) {}
    auto fields() const { return std::tie(ethPortId, index, sub); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
    Sub sub{};
};

// "Value('Lldp::Snmp::LocalVlanName::Key', ** {'ethPortId': 1, 'vlanId': 10})".
template <class Sub, const char* TypeName, const char* Field>
std::string valueToStrep(const LocalSubKey<Sub, TypeName, Field>& key) {
    return std::string("Value('") + TypeName +
           "', ** {'ethPortId': " + Interface::valueToStrep(key.ethPortId) + ", '" + Field +
           "': " + SubKeyText::of(key.sub) + "})";
}
template <class Sub, const char* TypeName, const char* Field>
std::string valueToStrep(const RemoteSubKey<Sub, TypeName, Field>& key) {
    return std::string("Value('") + TypeName +
           "', ** {'ethPortId': " + Interface::valueToStrep(key.ethPortId) +
           ", 'index': " + std::to_string(key.index) + ", '" + Field +
           "': " + SubKeyText::of(key.sub) + "})";
}

inline constexpr char localPortAndProtocolVlanKeyName[] =
    "Lldp::Snmp::LocalPortAndProtocolVlan::Key";
inline constexpr char localVlanNameKeyName[] = "Lldp::Snmp::LocalVlanName::Key";
inline constexpr char localProtocolIdentityInfoKeyName[] =
    "Lldp::Snmp::LocalProtocolIdentityInfo::Key";
inline constexpr char localMediaPolicyKeyName[] = "Lldp::Snmp::LocalMediaPolicy::Key";
inline constexpr char localLocationKeyName[] = "Lldp::Snmp::LocalLocation::Key";
inline constexpr char remoteMediaPolicyKeyName[] = "Lldp::Snmp::RemoteMediaPolicy::Key";
inline constexpr char remoteLocationKeyName[] = "Lldp::Snmp::RemoteLocation::Key";
inline constexpr char portAndProtocolVlanIdField[] = "portAndProtocolVlanId";
inline constexpr char vlanIdField[] = "vlanId";
inline constexpr char protocolIndexField[] = "protocolIndex";
inline constexpr char appTypeField[] = "appType";
inline constexpr char locationSubtypeField[] = "locationSubtype";

using LocalPortAndProtocolVlanKey =
    LocalSubKey<Bridging::VlanIdOrNone, localPortAndProtocolVlanKeyName,
                portAndProtocolVlanIdField>;
using LocalVlanNameKey = LocalSubKey<Bridging::VlanId, localVlanNameKeyName, vlanIdField>;
using LocalProtocolIdentityInfoKey =
    LocalSubKey<int32_t, localProtocolIdentityInfoKeyName, protocolIndexField>;
using LocalMediaPolicyKey = LocalSubKey<PolicyAppType, localMediaPolicyKeyName, appTypeField>;
using LocalLocationKey = LocalSubKey<int32_t, localLocationKeyName, locationSubtypeField>;
using RemoteMediaPolicyKey = RemoteSubKey<PolicyAppType, remoteMediaPolicyKeyName, appTypeField>;
using RemoteLocationKey = RemoteSubKey<int32_t, remoteLocationKeyName, locationSubtypeField>;

} // namespace Lldp::Snmp
