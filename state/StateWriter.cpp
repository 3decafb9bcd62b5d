#include "state/StateWriter.h"

#include <nlohmann/json.hpp>

#include <arpa/inet.h>

#include <cstdio>

namespace LldpSnmpd {

namespace {

using Json = nlohmann::ordered_json;

constexpr int32_t chassisIdMac = 4;
constexpr int32_t portIdMac = 3;
constexpr int32_t familyIpV4 = 1;
constexpr int32_t familyIpV6 = 2;

std::string hex(const Zim::String8& bytes, const char* separator = "") {
    std::string out;
    for (size_t i = 0; i < bytes.size(); ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(bytes.data()[i]));
        out += (i > 0 ? separator : "") + std::string(digits);
    }
    return out;
}

// Text the parser reads back as the same bytes: valid UTF-8 without control characters.
bool readsBackAsText(const Zim::String8& bytes) {
    const auto* s = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t n = bytes.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = s[i];
        size_t extra = 0;
        if (c < 0x20 || c == 0x7f) {
            return false;
        } else if (c < 0x80) {
            extra = 0;
        } else if ((c & 0xe0) == 0xc0 && c >= 0xc2) {
            extra = 1;
        } else if ((c & 0xf0) == 0xe0) {
            extra = 2;
        } else if ((c & 0xf8) == 0xf0 && c <= 0xf4) {
            extra = 3;
        } else {
            return false;
        }
        if (i + extra >= n) {
            return false;
        }
        // No overlong forms, no surrogates, nothing above U+10FFFF.
        const unsigned char next = extra > 0 ? s[i + 1] : 0;
        if ((c == 0xe0 && next < 0xa0) || (c == 0xed && next > 0x9f) ||
            (c == 0xf0 && next < 0x90) || (c == 0xf4 && next > 0x8f)) {
            return false;
        }
        for (size_t k = 1; k <= extra; ++k) {
            if ((s[i + k] & 0xc0) != 0x80) {
                return false;
            }
        }
        i += extra + 1;
    }
    return true;
}

Json octets(const Zim::String8& bytes) {
    if (readsBackAsText(bytes)) {
        return std::string(bytes.data(), bytes.size());
    }
    return Json{{"hex", hex(bytes)}};
}

Json identifier(const Zim::String8& bytes, bool isMac) {
    return isMac && bytes.size() == 6 ? Json(hex(bytes, ":")) : octets(bytes);
}

Json address(const Lldp::ManagementAddress::Key& key) {
    const auto& bytes = key.address();
    char text[INET6_ADDRSTRLEN];
    if (key.subtype() == familyIpV4 && bytes.size() == 4 &&
        inet_ntop(AF_INET, bytes.data(), text, sizeof text)) {
        return std::string(text);
    }
    if (key.subtype() == familyIpV6 && bytes.size() == 16 &&
        inet_ntop(AF_INET6, bytes.data(), text, sizeof text)) {
        return std::string(text);
    }
    return Json{{"hex", hex(bytes)}};
}

Json bits(uint32_t value) {
    Json out = Json::array();
    for (int bit = 0; bit < 32; ++bit) {
        if (value & (1u << bit)) {
            out.push_back(bit);
        }
    }
    return out;
}

Json managementAddress(const Lldp::ManagementAddress& a) {
    return Json{{"subtype", a.key().subtype()},
                {"address", address(a.key())},
                {"ifSubtype", a.ifSubtype()},
                {"ifId", a.ifId()},
                {"oid", std::string(a.oid().data(), a.oid().size())}};
}

Json localSystem(const LocalSystemDoc& doc) {
    Json addresses = Json::array();
    for (const auto& [key, a] : doc.managementAddresses) {
        Json j = managementAddress(a.address);
        j["priority"] = a.priority.value();
        addresses.push_back(std::move(j));
    }
    return Json{{"chassisIdSubtype", doc.chassisIdSubtype},
                {"chassisId", identifier(doc.chassisId, doc.chassisIdSubtype == chassisIdMac)},
                {"sysName", octets(doc.sysName)},
                {"sysDesc", octets(doc.sysDesc)},
                {"sysCapSupported", bits(doc.sysCapSupported.value)},
                {"sysCapEnabled", bits(doc.sysCapEnabled.value)},
                {"managementAddresses", std::move(addresses)}};
}

Json dot1(const NeighborDoc& n) {
    Json out = Json::object();
    if (n.portVlanId) {
        out["portVlanId"] = *n.portVlanId;
    }
    if (!n.protoVlans.empty()) {
        Json& list = out["protoVlans"] = Json::array();
        for (const auto& [id, v] : n.protoVlans) {
            list.push_back(
                {{"id", id.value()}, {"supported", v.supported()}, {"enabled", v.enabled()}});
        }
    }
    if (!n.vlanNames.empty()) {
        Json& list = out["vlanNames"] = Json::array();
        for (const auto& [id, v] : n.vlanNames) {
            list.push_back({{"id", id.value()}, {"name", octets(v.vlanName())}});
        }
    }
    if (!n.protocols.empty()) {
        Json& list = out["protocols"] = Json::array();
        for (const auto& [index, p] : n.protocols) {
            list.push_back({{"index", index}, {"id", octets(p.protocolId())}});
        }
    }
    return out;
}

Json dot3(const NeighborDoc& n) {
    Json out = Json::object();
    if (n.macPhy) {
        char cap[8];
        std::snprintf(cap, sizeof cap, "0x%04x", n.macPhy->autoNegAdvertisedCapAsU16);
        out["macPhy"] = {{"autoNegSupported", n.macPhy->autoNegSupported},
                         {"autoNegEnabled", n.macPhy->autoNegEnabled},
                         {"autoNegAdvertisedCap", cap},
                         {"operMauType", n.macPhy->operMauType}};
    }
    if (n.power) {
        out["power"] = {{"portClass", n.power->powerPortClass},
                        {"mdiSupported", n.power->powerMdiSupported},
                        {"mdiEnabled", n.power->powerMdiEnabled},
                        {"pairControllable", n.power->powerPairControllable},
                        {"pairs", n.power->powerPairs},
                        {"class", n.power->powerClass}};
    }
    if (n.linkAgg) {
        out["linkAgg"] = {{"status", bits(n.linkAgg->status.value)}, {"portId", n.linkAgg->portId}};
    }
    if (n.maxFrameSize) {
        out["maxFrameSize"] = *n.maxFrameSize;
    }
    return out;
}

Json neighbor(const NeighborDoc& n) {
    Json out{{"index", n.index}};
    if (n.lastChangeTime) {
        out["lastChangeTime"] = *n.lastChangeTime;
    }
    out["chassisIdSubtype"] = n.chassisIdSubtype;
    out["chassisId"] = identifier(n.chassisId, n.chassisIdSubtype == chassisIdMac);
    out["portIdSubtype"] = n.portIdSubtype;
    out["portId"] = identifier(n.portId, n.portIdSubtype == portIdMac);
    out["portDesc"] = octets(n.portDesc);
    out["sysName"] = octets(n.sysName);
    out["sysDesc"] = octets(n.sysDesc);
    out["sysCapSupported"] = bits(n.sysCapSupported.value);
    out["sysCapEnabled"] = bits(n.sysCapEnabled.value);
    Json& addresses = out["managementAddresses"] = Json::array();
    for (const auto& [key, a] : n.managementAddresses) {
        addresses.push_back(managementAddress(a));
    }
    if (!n.unknownTlvs.empty()) {
        Json& list = out["unknownTlvs"] = Json::array();
        for (const auto& [type, t] : n.unknownTlvs) {
            list.push_back({{"type", type}, {"info", octets(t.info())}});
        }
    }
    if (!n.orgDefTlvs.empty()) {
        Json& list = out["orgDefTlvs"] = Json::array();
        for (const auto& [key, t] : n.orgDefTlvs) {
            list.push_back({{"oui", key.oui().value()},
                            {"subtype", key.subtype()},
                            {"index", key.index()},
                            {"info", octets(t.info())}});
        }
    }
    if (Json d = dot1(n); !d.empty()) {
        out["dot1"] = std::move(d);
    }
    if (Json d = dot3(n); !d.empty()) {
        out["dot3"] = std::move(d);
    }
    return out;
}

Json interface(const InterfaceDoc& doc) {
    const auto& c = doc.config;
    const auto& l = doc.local;
    const auto& s = doc.statistics;
    Json neighbors = Json::array();
    for (const auto& [index, n] : doc.neighbors) {
        neighbors.push_back(neighbor(n));
    }
    return Json{{"name", std::string(doc.name.name().data(), doc.name.name().size())},
                {"portNum", doc.portNum.value()},
                {"config",
                 {{"adminStatus", c.adminStatus},
                  {"notificationEnable", c.notificationEnable},
                  {"tlvsTxEnable", bits(c.tlvsTxEnable.value)},
                  {"dot3TlvsTxEnable", bits(c.dot3TlvsTxEnable.value)},
                  {"portVlanTxEnable", c.portVlanTxEnable},
                  {"manAddrTxEnable", c.manAddrTxEnable}}},
                {"local",
                 {{"portIdSubtype", l.portIdSubtype},
                  {"portId", identifier(l.portId, l.portIdSubtype == portIdMac)},
                  {"portDesc", octets(l.portDesc)},
                  {"portVlanId", l.portVlanId},
                  {"linkAggStatus", bits(l.linkAggStatus.value)},
                  {"linkAggPortId", l.linkAggPortId},
                  {"maxFrameSize", l.maxFrameSize}}},
                {"statistics",
                 {{"txFramesTotal", s.txFramesTotal},
                  {"rxFramesDiscardedTotal", s.rxFramesDiscardedTotal},
                  {"rxFramesErrors", s.rxFramesErrors},
                  {"rxFramesTotal", s.rxFramesTotal},
                  {"rxTLVsDiscardedTotal", s.rxTLVsDiscardedTotal},
                  {"rxTLVsUnrecognizedTotal", s.rxTLVsUnrecognizedTotal},
                  {"rxAgeoutsTotal", s.rxAgeoutsTotal}}},
                {"neighbors", std::move(neighbors)}};
}

Json status(const StatusDoc& doc) {
    Json out = Json::object();
    auto put = [&](const char* key, const auto& value) {
        if (value) {
            out[key] = *value;
        }
    };
    put("remTablesLastChangeTime", doc.remTablesLastChangeTime);
    put("remTablesInserts", doc.remTablesInserts);
    put("remTablesDeletes", doc.remTablesDeletes);
    put("remTablesDrops", doc.remTablesDrops);
    put("remTablesAgeouts", doc.remTablesAgeouts);
    return out;
}

} // namespace

std::string stateText(const StateDoc& doc) {
    Json interfaces = Json::array();
    for (const InterfaceDoc* intf : doc.interfacesByPort()) {
        interfaces.push_back(interface(*intf));
    }
    Json out{{"config",
              {{"messageTxInterval", doc.config.messageTxInterval},
               {"messageTxHoldMultiplier", doc.config.messageTxHoldMultiplier},
               {"reinitDelay", doc.config.reinitDelay},
               {"txDelay", doc.config.txDelay}}},
             {"status", status(doc.status)},
             {"localSystem", localSystem(doc.localSystem)},
             {"interfaces", std::move(interfaces)}};
    return out.dump(2) + "\n";
}

} // namespace LldpSnmpd
