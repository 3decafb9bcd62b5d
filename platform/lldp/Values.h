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

// --- LLDP-MED ------------------------------------------------------------------------------

// LldpXMedCapabilities, member k = BITS bit k: capabilities 0, networkPolicy 1, location 2,
// extendedPSE 3, extendedPD 4, inventory 5.
struct MedCapabilities {
    static constexpr uint8_t capabilities = 1u << 0;
    static constexpr uint8_t networkPolicy = 1u << 1;
    static constexpr uint8_t location = 1u << 2;
    static constexpr uint8_t extendedPse = 1u << 3;
    static constexpr uint8_t extendedPd = 1u << 4;
    static constexpr uint8_t inventory = 1u << 5;
    uint8_t value = 0;
    bool has(uint8_t member) const noexcept { return (value & member) != 0; }
    friend bool operator==(const MedCapabilities&, const MedCapabilities&) = default;
};

// The application type of one network policy: the bit number of PolicyAppType, unknown 0 to
// videoSignaling 8. As an index it is the BITS value with that one bit set, two octets long
// (nine named bits), so application types order from the highest bit number down.
class PolicyAppType {
public:
    static constexpr uint32_t max = 8;
    PolicyAppType() = default;
    explicit PolicyAppType(uint32_t bit) : bit_(static_cast<uint8_t>(bit)) {
        if (bit > max)
            Zim::throwRangeException("PolicyAppType::value > 8 not allowed");
    }
    uint8_t value() const noexcept { return bit_; }
    // The two index octets as one number, high octet first.
    uint16_t bits() const noexcept { return static_cast<uint16_t>(0x8000u >> bit_); }
    friend bool operator==(const PolicyAppType&, const PolicyAppType&) = default;
    friend bool operator<(const PolicyAppType& a, const PolicyAppType& b) {
        return a.bits() < b.bits();
    }

private:
    uint8_t bit_ = 0;
};

// One network policy TLV.
struct MediaPolicy {
    PolicyAppType appType;
    int32_t vlanId = 0;   // 0 priority tagged, 1..4094, 4095 reserved
    int32_t priority = 0; // 0..7
    int32_t dscp = 0;     // 0..63
    bool unknown = false;
    bool tagged = false;
    friend bool operator==(const MediaPolicy&, const MediaPolicy&) = default;
};

// The inventory TLVs, each at most 32 bytes.
struct MedInventory {
    Zim::String8 hardwareRev;
    Zim::String8 firmwareRev;
    Zim::String8 softwareRev;
    Zim::String8 serialNum;
    Zim::String8 mfgName;
    Zim::String8 modelName;
    Zim::String8 assetId;
    friend bool operator==(const MedInventory&, const MedInventory&) = default;
};

// One location identification TLV: LocationSubtype (unknown 1, coordinateBased 2,
// civicAddress 3, elin 4) and its encoded information, at most 256 bytes.
class MedLocation {
public:
    static constexpr size_t maxInfo = 256;
    MedLocation() = default;
    MedLocation(int32_t subtype, const Zim::String8& info);
    int32_t subtype() const noexcept { return subtype_; }
    const Zim::String8& info() const noexcept { return info_; }
    friend bool operator==(const MedLocation&, const MedLocation&) = default;

private:
    int32_t subtype_ = 1;
    Zim::String8 info_;
};

// The extended power-via-MDI TLV as a neighbour sends it: its device type (unknown 1,
// pseDevice 2, pdDevice 3, none 4), power source and priority (unknown 1, critical 2, high 3,
// low 4) and power value in tenths of a watt (0..1023: available from a PSE, required by a PD).
// The power source's numbers depend on the device type (PSE: primary 2, backup 3; PD: fromPSE
// 2, local 3, localAndPSE 4).
struct MedExtendedPower {
    static constexpr int32_t pseDevice = 2;
    static constexpr int32_t pdDevice = 3;
    int32_t deviceType = 1;
    int32_t powerSource = 1;
    int32_t powerPriority = 1;
    uint32_t powerValue = 0;
    friend bool operator==(const MedExtendedPower&, const MedExtendedPower&) = default;
};

// What a PSE port offers: power available (tenths of a watt) and the priority of the PD on it.
struct MedPsePortPower {
    uint32_t powerAv = 0;
    int32_t pdPriority = 1;
    friend bool operator==(const MedPsePortPower&, const MedPsePortPower&) = default;
};

// The local system's extended power: its device type, its source as a PSE, and what it asks
// for as a PD.
struct MedLocalPower {
    int32_t deviceType = 4; // none
    int32_t pseSource = 1;
    uint32_t pdPowerReq = 0;
    int32_t pdSource = 1;
    int32_t pdPriority = 1;
    friend bool operator==(const MedLocalPower&, const MedLocalPower&) = default;
};

// A local 802.1 TLV member and whether the port sends it.
template <class Member> struct TxEnabled {
    Member member;
    bool txEnable = false;
    friend bool operator==(const TxEnabled&, const TxEnabled&) = default;
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
std::string valueToStrep(const PolicyAppType& type);
std::string valueToStrep(const MediaPolicy& policy);
std::string valueToStrep(const MedLocation& location);
template <class Member> std::string valueToStrep(const TxEnabled<Member>& m) {
    return valueToStrep(m.member) + (m.txEnable ? " txEnable" : " txDisable");
}

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
template <> struct std::hash<Lldp::PolicyAppType> {
    size_t operator()(const Lldp::PolicyAppType& t) const noexcept { return t.value(); }
};
