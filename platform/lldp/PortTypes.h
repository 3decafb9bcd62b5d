#pragma once
// Port, interface and VLAN identifiers shared by the LLDP agent's state and the MIB tables.
#include "platform/zim/Exception.h"
#include "platform/zim/String8.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <string>

namespace Interface {

// The SNMP port number of an Ethernet interface. Only the upper bound is checked: port 0 is
// accepted (the text names both bounds, as it always has).
class EthPortId {
public:
    static constexpr uint16_t min = 0;
    static constexpr uint16_t max = 4094;

    EthPortId() = default;
    explicit EthPortId(uint16_t value) : value_(value) {
        if (value > max) {
            Zim::throwRangeException(
                "EthPortId::value < EthPortId::min or > EthPortId::max not allowed");
        }
    }
    uint16_t value() const noexcept { return value_; }
    friend auto operator<=>(const EthPortId&, const EthPortId&) = default;

private:
    uint16_t value_ = 0;
};

std::string valueToStrep(const EthPortId& id);

} // namespace Interface

namespace Ifkit {

// The platform's interface identifier: the interface name ("Ethernet1").
class IntfId {
public:
    IntfId() = default;
    explicit IntfId(Zim::String8 name) : name_(std::move(name)) {}
    const Zim::String8& name() const noexcept { return name_; }
    friend auto operator<=>(const IntfId&, const IntfId&) = default;
    friend bool operator==(const IntfId&, const IntfId&) = default;

private:
    Zim::String8 name_;
};

std::string valueToStrep(const IntfId& id);

} // namespace Ifkit

namespace Bridging {

class VlanId {
public:
    VlanId() = default;
    explicit VlanId(uint16_t value) : value_(value) {
        if (value < 1 || value > 4094) {
            Zim::throwRangeException("VlanId::value < 1 or > 4094 not allowed");
        }
    }
    uint16_t value() const noexcept { return value_; }
    friend auto operator<=>(const VlanId&, const VlanId&) = default;

private:
    uint16_t value_ = 1;
};

// A VLAN id where 0 means "no VLAN" (the port-and-protocol VLAN of a protocol that is
// supported but has no VLAN configured).
class VlanIdOrNone {
public:
    VlanIdOrNone() = default;
    explicit VlanIdOrNone(uint16_t value) : value_(value) {
        if (value > 4094)
            Zim::throwRangeException("VlanIdOrNone::value > 4094 not allowed");
    }
    uint16_t value() const noexcept { return value_; }
    friend auto operator<=>(const VlanIdOrNone&, const VlanIdOrNone&) = default;

private:
    uint16_t value_ = 0;
};

std::string valueToStrep(const VlanId& id);
std::string valueToStrep(const VlanIdOrNone& id);

} // namespace Bridging

template <> struct std::hash<Interface::EthPortId> {
    size_t operator()(const Interface::EthPortId& id) const noexcept { return id.value(); }
};
template <> struct std::hash<Ifkit::IntfId> {
    size_t operator()(const Ifkit::IntfId& id) const noexcept {
        return std::hash<Zim::String8>()(id.name());
    }
};
template <> struct std::hash<Bridging::VlanId> {
    size_t operator()(const Bridging::VlanId& id) const noexcept { return id.value(); }
};
template <> struct std::hash<Bridging::VlanIdOrNone> {
    size_t operator()(const Bridging::VlanIdOrNone& id) const noexcept { return id.value(); }
};
