#pragma once
// The keys of the remote tables. Each orders exactly as its table's INDEX objects do in SNMP
// (after the time mark, which is a filter and no part of any key): the port number always
// dominates, then the neighbour's index, then the sub-table's own fields. Signed fields
// (index, unknownOrgDefTlvIndex, protocolIndex) compare signed, the others unsigned.
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/Values.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <tuple>

namespace Lldp::Snmp {

// Comparison operators derived from the key's fields() tuple, in declaration order.
template <class Key> struct KeyOrder {
    friend bool operator==(const Key& a, const Key& b) { return a.fields() == b.fields(); }
    friend bool operator!=(const Key& a, const Key& b) { return !(a == b); }
    friend bool operator<(const Key& a, const Key& b) { return a.fields() < b.fields(); }
    friend bool operator<=(const Key& a, const Key& b) { return !(b < a); }
    friend bool operator>(const Key& a, const Key& b) { return b < a; }
    friend bool operator>=(const Key& a, const Key& b) { return !(a < b); }
};

struct RemoteSystemKey : KeyOrder<RemoteSystemKey> {
    static constexpr const char* typeName = "Lldp::Snmp::RemoteSystem::Key";
    RemoteSystemKey() = default;
    RemoteSystemKey(Interface::EthPortId e, int32_t i) : ethPortId(e), index(i) {}
    auto fields() const { return std::tie(ethPortId, index); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
};

struct RemoteManagementAddressKey : KeyOrder<RemoteManagementAddressKey> {
    static constexpr const char* typeName = "Lldp::Snmp::RemoteManagementAddress::Key";
    RemoteManagementAddressKey() = default;
    RemoteManagementAddressKey(Interface::EthPortId e, int32_t i, ManagementAddress::Key k)
        : ethPortId(e), index(i), manAddrKey(std::move(k)) {}
    auto fields() const { return std::tie(ethPortId, index, manAddrKey); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
    ManagementAddress::Key manAddrKey;
};

struct RemoteUnknownTlvKey : KeyOrder<RemoteUnknownTlvKey> {
    static constexpr const char* typeName = "Lldp::Snmp::RemoteUnknownTlv::Key";
    RemoteUnknownTlvKey() = default;
    RemoteUnknownTlvKey(Interface::EthPortId e, int32_t i, uint32_t t)
        : ethPortId(e), index(i), type(t) {}
    // The key of a request's index: the TLV type is checked with the agent's own rule (9..126),
    // "UnknownTlv::type < 9 or > 126 not allowed".
    static RemoteUnknownTlvKey fromIndex(Interface::EthPortId e, int32_t i, uint32_t t) {
        return {e, i, UnknownTlv(t, Zim::String8()).type()};
    }
    auto fields() const { return std::tie(ethPortId, index, type); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
    uint32_t type = 0;
};

struct RemoteUnknownOrgDefTlvKey : KeyOrder<RemoteUnknownOrgDefTlvKey> {
    static constexpr const char* typeName = "Lldp::Snmp::RemoteUnknownOrgDefTlv::Key";
    RemoteUnknownOrgDefTlvKey() = default;
    RemoteUnknownOrgDefTlvKey(Interface::EthPortId e, int32_t i, Oui o, uint32_t s, int32_t x)
        : ethPortId(e), index(i), oui(o), subtype(s), unknownOrgDefTlvIndex(x) {}
    auto fields() const { return std::tie(ethPortId, index, oui, subtype, unknownOrgDefTlvIndex); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
    Oui oui;
    uint32_t subtype = 0;
    int32_t unknownOrgDefTlvIndex = 0;
};

struct RemotePortAndProtocolVlanKey : KeyOrder<RemotePortAndProtocolVlanKey> {
    static constexpr const char* typeName = "Lldp::Snmp::RemotePortAndProtocolVlan::Key";
    RemotePortAndProtocolVlanKey() = default;
    RemotePortAndProtocolVlanKey(Interface::EthPortId e, int32_t i, Bridging::VlanIdOrNone v)
        : ethPortId(e), index(i), portAndProtocolVlanId(v) {}
    auto fields() const { return std::tie(ethPortId, index, portAndProtocolVlanId); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
    Bridging::VlanIdOrNone portAndProtocolVlanId;
};

struct RemoteVlanNameKey : KeyOrder<RemoteVlanNameKey> {
    static constexpr const char* typeName = "Lldp::Snmp::RemoteVlanName::Key";
    RemoteVlanNameKey() = default;
    RemoteVlanNameKey(Interface::EthPortId e, int32_t i, Bridging::VlanId v)
        : ethPortId(e), index(i), vlanId(v) {}
    auto fields() const { return std::tie(ethPortId, index, vlanId); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
    Bridging::VlanId vlanId;
};

struct RemoteProtocolIdentityInfoKey : KeyOrder<RemoteProtocolIdentityInfoKey> {
    static constexpr const char* typeName = "Lldp::Snmp::RemoteProtocolIdentityInfo::Key";
    RemoteProtocolIdentityInfoKey() = default;
    RemoteProtocolIdentityInfoKey(Interface::EthPortId e, int32_t i, int32_t p)
        : ethPortId(e), index(i), protocolIndex(p) {}
    auto fields() const { return std::tie(ethPortId, index, protocolIndex); }
    Interface::EthPortId ethPortId;
    int32_t index = 0;
    int32_t protocolIndex = 0;
};

// "Value('Lldp::Snmp::RemoteSystem::Key', ** {'ethPortId': 1, 'index': 2})" and likewise.
std::string valueToStrep(const RemoteSystemKey& key);
std::string valueToStrep(const RemoteManagementAddressKey& key);
std::string valueToStrep(const RemoteUnknownTlvKey& key);
std::string valueToStrep(const RemoteUnknownOrgDefTlvKey& key);
std::string valueToStrep(const RemotePortAndProtocolVlanKey& key);
std::string valueToStrep(const RemoteVlanNameKey& key);
std::string valueToStrep(const RemoteProtocolIdentityInfoKey& key);

// A key's fields by name, as their textual forms; the range exception for an unknown name.
std::string attributeStrRep(const RemoteSystemKey& key, std::string_view attribute);
std::string attributeStrRep(const RemoteManagementAddressKey& key, std::string_view attribute);
std::string attributeStrRep(const RemoteUnknownTlvKey& key, std::string_view attribute);
std::string attributeStrRep(const RemoteUnknownOrgDefTlvKey& key, std::string_view attribute);
std::string attributeStrRep(const RemotePortAndProtocolVlanKey& key, std::string_view attribute);
std::string attributeStrRep(const RemoteVlanNameKey& key, std::string_view attribute);
std::string attributeStrRep(const RemoteProtocolIdentityInfoKey& key, std::string_view attribute);

template <class Key>
auto operator<<(std::ostream& os, const Key& key) -> decltype(key.fields(), Key::typeName, os)& {
    return os << valueToStrep(key);
}

} // namespace Lldp::Snmp
