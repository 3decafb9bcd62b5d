#pragma once
// The LLDP agent's value types: what a TLV carries, with the ranges the agent enforces.
#include "platform/lldp/PortTypes.h"
#include "platform/zim/String8.h"

#include <compare>
#include <cstdint>
#include <string>

namespace Lldp {

// A string of at most Bound bytes; longer input is refused with "<Name>::bytes > N not allowed".
Zim::String8 boundedString(const Zim::String8& bytes, size_t bound, const char* typeName);

// A management address as bytes (4 for IPv4, 16 for IPv6, ...), at most 31 of them.
using ManAddress = Zim::String8;

class ManagementAddress {
public:
    // Orders as the SNMP index (subtype, address) does: subtype, then address length (an
    // OCTET STRING index carries its length first), then the bytes unsigned.
    class Key {
    public:
        Key() = default;
        Key(int32_t subtype, const Zim::String8& address);
        int32_t subtype() const noexcept { return subtype_; }
        const ManAddress& address() const noexcept { return address_; }
        friend bool operator==(const Key&, const Key&) = default;
        friend bool operator<(const Key& a, const Key& b);

    private:
        int32_t subtype_ = 0;
        ManAddress address_;
    };

    ManagementAddress() = default;
    ManagementAddress(Key key, int32_t ifSubtype, int32_t ifId, Zim::String8 oid)
        : key_(std::move(key)), ifSubtype_(ifSubtype), ifId_(ifId), oid_(std::move(oid)) {}

    const Key& key() const noexcept { return key_; }
    // The TLV's management-address string length: the subtype octet plus the address.
    int32_t manAddrLen() const noexcept { return static_cast<int32_t>(key_.address().size()) + 1; }
    int32_t ifSubtype() const noexcept { return ifSubtype_; }
    int32_t ifId() const noexcept { return ifId_; }
    const Zim::String8& oid() const noexcept { return oid_; } // dotted text, "1.3.6.1..."
    friend bool operator==(const ManagementAddress&, const ManagementAddress&) = default;

private:
    Key key_;
    int32_t ifSubtype_ = 0;
    int32_t ifId_ = 0;
    Zim::String8 oid_;
};

// The place of a management address in the agent's transmit order; 0 (the default) means the
// address has not been given a place and is sent on no port.
class ManAddrPriority {
public:
    ManAddrPriority() = default;
    explicit ManAddrPriority(uint32_t value) : value_(value) {}
    uint32_t value() const noexcept { return value_; }
    friend auto operator<=>(const ManAddrPriority&, const ManAddrPriority&) = default;

private:
    uint32_t value_ = 0;
};

// A 24-bit organisationally unique identifier held in a 32-bit word.
class Oui {
public:
    Oui() = default;
    explicit Oui(uint32_t value) : value_(value & 0xffffff) {}
    uint32_t value() const noexcept { return value_; }
    friend auto operator<=>(const Oui&, const Oui&) = default;

private:
    uint32_t value_ = 0;
};

class UnknownTlv {
public:
    UnknownTlv() = default;
    // The information is checked before the type, as the agent always has.
    UnknownTlv(uint32_t type, const Zim::String8& info);
    uint32_t type() const noexcept { return type_; }
    const Zim::String8& info() const noexcept { return info_; }
    friend bool operator==(const UnknownTlv&, const UnknownTlv&) = default;

private:
    uint32_t type_ = 9;
    Zim::String8 info_;
};

class UnknownOrgDefTlv {
public:
    class Key {
    public:
        Key() = default;
        Key(Oui oui, uint32_t subtype, int32_t index)
            : oui_(oui), subtype_(subtype), index_(index) {}
        Oui oui() const noexcept { return oui_; }
        uint32_t subtype() const noexcept { return subtype_; }
        int32_t index() const noexcept { return index_; }
        friend auto operator<=>(const Key&, const Key&) = default;

    private:
        Oui oui_;
        uint32_t subtype_ = 0;
        int32_t index_ = 0;
    };

    UnknownOrgDefTlv() = default;
    UnknownOrgDefTlv(Key key, Zim::String8 info) : key_(key), info_(std::move(info)) {}
    const Key& key() const noexcept { return key_; }
    const Zim::String8& info() const noexcept { return info_; }
    friend bool operator==(const UnknownOrgDefTlv&, const UnknownOrgDefTlv&) = default;

private:
    Key key_;
    Zim::String8 info_;
};

class PortAndProtocolVlan {
public:
    PortAndProtocolVlan() = default;
    PortAndProtocolVlan(Bridging::VlanIdOrNone id, bool supported, bool enabled)
        : id_(id), supported_(supported), enabled_(enabled) {}
    Bridging::VlanIdOrNone id() const noexcept { return id_; }
    bool supported() const noexcept { return supported_; }
    bool enabled() const noexcept { return enabled_; }
    friend bool operator==(const PortAndProtocolVlan&, const PortAndProtocolVlan&) = default;

private:
    Bridging::VlanIdOrNone id_;
    bool supported_ = false;
    bool enabled_ = false;
};

class VlanName {
public:
    VlanName() = default;
    VlanName(Bridging::VlanId id, Zim::String8 vlanName)
        : id_(id), vlanName_(std::move(vlanName)) {}
    Bridging::VlanId id() const noexcept { return id_; }
    const Zim::String8& vlanName() const noexcept { return vlanName_; }
    friend bool operator==(const VlanName&, const VlanName&) = default;

private:
    Bridging::VlanId id_;
    Zim::String8 vlanName_;
};

class ProtocolIdentityInfo {
public:
    ProtocolIdentityInfo() = default;
    ProtocolIdentityInfo(int32_t index, Zim::String8 protocolId)
        : index_(index), protocolId_(std::move(protocolId)) {}
    int32_t index() const noexcept { return index_; }
    const Zim::String8& protocolId() const noexcept { return protocolId_; }
    friend bool operator==(const ProtocolIdentityInfo&, const ProtocolIdentityInfo&) = default;

private:
    int32_t index_ = 0;
    Zim::String8 protocolId_;
};

// Bit sets: member k has value 1 << k.
struct SystemCapabilitiesMap {
    uint32_t value = 0;
    friend bool operator==(const SystemCapabilitiesMap&, const SystemCapabilitiesMap&) = default;
};

struct LinkAggStatusMap {
    uint8_t value = 0;
    friend bool operator==(const LinkAggStatusMap&, const LinkAggStatusMap&) = default;
};

// The IEEE 802.3 MAC/PHY configuration/status TLV.
struct MacPhyConfigStatusInfo {
    bool autoNegSupported = false;
    bool autoNegEnabled = false;
    uint16_t autoNegAdvertisedCapAsU16 = 0; // already in BITS order: bit 0 is 0x8000
    int32_t operMauType = 0;
    friend bool operator==(const MacPhyConfigStatusInfo&, const MacPhyConfigStatusInfo&) = default;
};

// The IEEE 802.3 power-via-MDI TLV.
struct PowerViaMdiInfo {
    int32_t powerPortClass = 0;
    bool powerMdiSupported = false;
    bool powerMdiEnabled = false;
    bool powerPairControllable = false;
    int32_t powerPairs = 0;
    int32_t powerClass = 0;
    friend bool operator==(const PowerViaMdiInfo&, const PowerViaMdiInfo&) = default;
};

std::string valueToStrep(const ManagementAddress::Key& key);
std::string valueToStrep(const ManagementAddress& address);
std::string valueToStrep(const ManAddrPriority& prio);
std::string valueToStrep(const Oui& oui);
std::string valueToStrep(const UnknownTlv& tlv);
std::string valueToStrep(const UnknownOrgDefTlv::Key& key);
std::string valueToStrep(const UnknownOrgDefTlv& tlv);
std::string valueToStrep(const PortAndProtocolVlan& vlan);
std::string valueToStrep(const VlanName& name);
std::string valueToStrep(const ProtocolIdentityInfo& info);

} // namespace Lldp

template <> struct std::hash<Lldp::ManagementAddress::Key> {
    size_t operator()(const Lldp::ManagementAddress::Key& k) const noexcept {
        return std::hash<Zim::String8>()(k.address()) * 31 + static_cast<size_t>(k.subtype());
    }
};
template <> struct std::hash<Lldp::ManAddrPriority> {
    size_t operator()(const Lldp::ManAddrPriority& p) const noexcept { return p.value(); }
};
template <> struct std::hash<Lldp::UnknownOrgDefTlv::Key> {
    size_t operator()(const Lldp::UnknownOrgDefTlv::Key& k) const noexcept {
        return (static_cast<size_t>(k.oui().value()) << 40) ^
               (static_cast<size_t>(k.subtype()) << 20) ^
               static_cast<size_t>(static_cast<uint32_t>(k.index()));
    }
};
