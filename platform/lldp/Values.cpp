#include "platform/lldp/Values.h"

#include "platform/zim/Exception.h"

#include <cstdio>

namespace Lldp {

namespace {
std::string quoted(const Zim::String8& s) {
    return "'" + Zim::printable(s) + "'";
}
std::string boolText(bool b) {
    return b ? "True" : "False";
}
} // namespace

Zim::String8 boundedString(const Zim::String8& bytes, size_t bound, const char* typeName) {
    if (bytes.size() > bound) {
        Zim::throwRangeException(std::string(typeName) + "::bytes > " + std::to_string(bound) +
                                 " not allowed");
    }
    return bytes;
}

ManagementAddress::Key::Key(int32_t subtype, const Zim::String8& address)
    : subtype_(subtype), address_(boundedString(address, 31, "ManAddress")) {}

bool operator<(const ManagementAddress::Key& a, const ManagementAddress::Key& b) {
    if (a.subtype_ != b.subtype_)
        return a.subtype_ < b.subtype_;
    if (a.address_.size() != b.address_.size())
        return a.address_.size() < b.address_.size();
    return a.address_.view() < b.address_.view();
}

MedLocation::MedLocation(int32_t subtype, const Zim::String8& info)
    : subtype_(subtype), info_(boundedString(info, maxInfo, "MedLocationInfo")) {
    if (subtype < 1 || subtype > 4)
        Zim::throwRangeException("MedLocation::subtype < 1 or > 4 not allowed");
}

UnknownTlv::UnknownTlv(uint32_t type, const Zim::String8& info)
    : type_(type), info_(boundedString(info, 511, "BoundedString511")) {
    if (type - 9u > 117u)
        Zim::throwRangeException("UnknownTlv::type < 9 or > 126 not allowed");
}

std::string valueToStrep(const ManagementAddress::Key& key) {
    return "Value('Lldp::ManagementAddress::Key', ** {'subtype': " + std::to_string(key.subtype()) +
           ", 'address': " + quoted(key.address()) + "})";
}

std::string valueToStrep(const ManagementAddress& a) {
    return "Value('Lldp::ManagementAddress', ** {'key': " + valueToStrep(a.key()) +
           ", 'ifSubtype': " + std::to_string(a.ifSubtype()) +
           ", 'ifId': " + std::to_string(a.ifId()) + ", 'oid': " + quoted(a.oid()) + "})";
}

std::string valueToStrep(const ManAddrPriority& prio) {
    return std::to_string(prio.value());
}

std::string valueToStrep(const Oui& oui) {
    char text[16];
    std::snprintf(text, sizeof text, "%02x-%02x-%02x", (oui.value() >> 16) & 0xff,
                  (oui.value() >> 8) & 0xff, oui.value() & 0xff);
    return text;
}

std::string valueToStrep(const UnknownTlv& tlv) {
    return "Value('Lldp::UnknownTlv', ** {'type': " + std::to_string(tlv.type()) +
           ", 'info': " + quoted(tlv.info()) + "})";
}

std::string valueToStrep(const UnknownOrgDefTlv::Key& key) {
    return "Value('Lldp::UnknownOrgDefTlv::Key', ** {'oui': " + valueToStrep(key.oui()) +
           ", 'subtype': " + std::to_string(key.subtype()) +
           ", 'index': " + std::to_string(key.index()) + "})";
}

std::string valueToStrep(const UnknownOrgDefTlv& tlv) {
    return "Value('Lldp::UnknownOrgDefTlv', ** {'key': " + valueToStrep(tlv.key()) +
           ", 'info': " + quoted(tlv.info()) + "})";
}

std::string valueToStrep(const PortAndProtocolVlan& v) {
    return "Value('Lldp::PortAndProtocolVlan', ** {'id': " + Bridging::valueToStrep(v.id()) +
           ", 'supported': " + boolText(v.supported()) + ", 'enabled': " + boolText(v.enabled()) +
           "})";
}

std::string valueToStrep(const VlanName& v) {
    return "Value('Lldp::VlanName', ** {'id': " + Bridging::valueToStrep(v.id()) +
           ", 'vlanName': " + quoted(v.vlanName()) + "})";
}

std::string valueToStrep(const ProtocolIdentityInfo& p) {
    return "Value('Lldp::ProtocolIdentityInfo', ** {'index': " + std::to_string(p.index()) +
           ", 'protocolId': " + quoted(p.protocolId()) + "})";
}

std::string valueToStrep(const PolicyAppType& type) {
    return std::to_string(type.value());
}

std::string valueToStrep(const MediaPolicy& p) {
    return "Value('Lldp::MediaPolicy', ** {'appType': " + std::to_string(p.appType.value()) +
           ", 'vlanId': " + std::to_string(p.vlanId) +
           ", 'priority': " + std::to_string(p.priority) + ", 'dscp': " + std::to_string(p.dscp) +
           ", 'unknown': " + (p.unknown ? "True" : "False") +
           ", 'tagged': " + (p.tagged ? "True" : "False") + "})";
}

std::string valueToStrep(const MedLocation& l) {
    return "Value('Lldp::MedLocation', ** {'subtype': " + std::to_string(l.subtype()) +
           ", 'info': " + quoted(l.info()) + "})";
}

} // namespace Lldp
