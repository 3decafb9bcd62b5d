#include "state/StateParser.h"

#include "platform/zim/Exception.h"

#include <nlohmann/json.hpp>

#include <arpa/inet.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <set>
#include <span>
#include <sstream>

namespace LldpSnmpd {

StateError::StateError(std::string path, std::string reason)
    : std::runtime_error(path + ": " + reason), path_(std::move(path)), reason_(std::move(reason)) {
}

namespace {

using Json = nlohmann::json;

// --- names: the MIBs' enumeration and bit names ------------------------------------------

struct Name {
    std::string_view name;
    int32_t value;
};
using Names = std::span<const Name>;

constexpr Name chassisIdSubtypes[] = {
    {"chassisComponent", 1}, {"interfaceAlias", 2}, {"portComponent", 3}, {"macAddress", 4},
    {"networkAddress", 5},   {"interfaceName", 6},  {"local", 7}};
constexpr int32_t chassisIdMac = 4;

constexpr Name portIdSubtypes[] = {
    {"interfaceAlias", 1}, {"portComponent", 2},  {"macAddress", 3}, {"networkAddress", 4},
    {"interfaceName", 5},  {"agentCircuitId", 6}, {"local", 7}};
constexpr int32_t portIdMac = 3;

constexpr Name adminStatuses[] = {{"txOnly", 1}, {"rxOnly", 2}, {"txAndRx", 3}, {"disabled", 4}};

constexpr Name manAddrIfSubtypes[] = {{"unknown", 1}, {"ifIndex", 2}, {"systemPortNumber", 3}};

// IANA address family numbers.
constexpr Name addressFamilies[] = {{"other", 0},
                                    {"ipV4", 1},
                                    {"ipV6", 2},
                                    {"nsap", 3},
                                    {"hdlc", 4},
                                    {"bbn1822", 5},
                                    {"all802", 6},
                                    {"e163", 7},
                                    {"e164", 8},
                                    {"f69", 9},
                                    {"x121", 10},
                                    {"ipx", 11},
                                    {"appleTalk", 12},
                                    {"decnetIV", 13},
                                    {"banyanVines", 14},
                                    {"e164withNsap", 15},
                                    {"dns", 16},
                                    {"distinguishedName", 17},
                                    {"asNumber", 18},
                                    {"xtpOverIpv4", 19},
                                    {"xtpOverIpv6", 20},
                                    {"xtpNativeModeXTP", 21},
                                    {"fibreChannelWWPN", 22},
                                    {"fibreChannelWWNN", 23},
                                    {"gwid", 24},
                                    {"afi", 25},
                                    {"mplsTpSectionEndpointIdentifier", 26},
                                    {"mplsTpLspEndpointIdentifier", 27},
                                    {"mplsTpPseudowireEndpointIdentifier", 28},
                                    {"eigrpCommonServiceFamily", 16384},
                                    {"eigrpIpv4ServiceFamily", 16385},
                                    {"eigrpIpv6ServiceFamily", 16386},
                                    {"lispCanonicalAddressFormat", 16387},
                                    {"bgpLs", 16388},
                                    {"fortyeightBitMacBitMac", 16389},
                                    {"sixtyfourBitMac", 16390},
                                    {"oui", 16391},
                                    {"mac24", 16392},
                                    {"mac40", 16393},
                                    {"ipv664", 16394},
                                    {"rBridgePortID", 16395},
                                    {"trillNickname", 16396},
                                    {"reserved", 65535}};
constexpr int32_t familyIpV4 = 1;
constexpr int32_t familyIpV6 = 2;

constexpr Name systemCapabilities[] = {{"other", 0},
                                       {"repeater", 1},
                                       {"bridge", 2},
                                       {"wlanAccessPoint", 3},
                                       {"router", 4},
                                       {"telephone", 5},
                                       {"docsisCableDevice", 6},
                                       {"stationOnly", 7}};

constexpr Name tlvsTxEnable[] = {{"portDesc", 0}, {"sysName", 1}, {"sysDesc", 2}, {"sysCap", 3}};

constexpr Name dot3TlvsTxEnable[] = {
    {"macPhyConfigStatus", 0}, {"powerViaMDI", 1}, {"linkAggregation", 2}, {"maxFrameSize", 3}};

// The MIB's names, and the short forms operators write.
constexpr Name linkAggStatuses[] = {
    {"aggCapable", 0}, {"aggEnabled", 1}, {"capable", 0}, {"enabled", 1}};

constexpr Name powerPortClasses[] = {{"pClassPSE", 1}, {"pClassPD", 2}};
constexpr Name powerPairs[] = {{"signal", 1}, {"spare", 2}};
constexpr Name powerClasses[] = {
    {"class0", 1}, {"class1", 2}, {"class2", 3}, {"class3", 4}, {"class4", 5}};

// --- reading JSON with a path ------------------------------------------------------------

[[noreturn]] void fail(const std::string& path, std::string reason) {
    throw StateError(path, std::move(reason));
}

std::string child(const std::string& path, std::string_view key) {
    return path + "." + std::string(key);
}

std::string element(const std::string& path, size_t i) {
    return path + "[" + std::to_string(i) + "]";
}

std::string describe(const Json& j) {
    if (j.is_string()) {
        auto text = j.dump();
        return "the string " + (text.size() > 48 ? text.substr(0, 44) + "...\"" : text);
    }
    if (j.is_number() || j.is_boolean()) {
        return j.dump();
    }
    if (j.is_null()) {
        return "null";
    }
    return std::string("an ") + (j.is_object() ? "object" : "array");
}

std::string nameList(Names names) {
    std::string out;
    for (const auto& n : names) {
        if (!out.empty()) {
            out += ", ";
        }
        out += n.name;
    }
    return out;
}

// An object whose keys are all known; a misspelt key is refused, never ignored.
class Object {
public:
    Object(const Json& j, std::string path, std::initializer_list<std::string_view> known)
        : j_(j), path_(std::move(path)) {
        if (!j.is_object()) {
            fail(path_, "expected an object, found " + describe(j));
        }
        for (const auto& item : j.items()) {
            if (std::find(known.begin(), known.end(), item.key()) != known.end()) {
                continue;
            }
            std::string expected;
            for (auto k : known) {
                expected += (expected.empty() ? "" : ", ") + std::string(k);
            }
            fail(child(path_, item.key()), "unknown key; expected one of: " + expected);
        }
    }

    const Json* find(std::string_view key) const {
        auto it = j_.find(std::string(key));
        return it == j_.end() ? nullptr : &*it;
    }
    const Json& at(std::string_view key) const {
        if (const Json* v = find(key)) {
            return *v;
        }
        fail(path_, "missing key \"" + std::string(key) + "\"");
    }
    std::string path(std::string_view key) const { return child(path_, key); }
    const std::string& path() const noexcept { return path_; }

    // Reads key with reader(json, path) into out when present.
    template <class T, class Reader>
    void optional(std::string_view key, T& out, Reader&& reader) const {
        if (const Json* v = find(key)) {
            out = reader(*v, path(key));
        }
    }
    template <class Reader> auto required(std::string_view key, Reader&& reader) const {
        return reader(at(key), path(key));
    }

private:
    const Json& j_;
    std::string path_;
};

const Json& array(const Json& j, const std::string& path) {
    if (!j.is_array()) {
        fail(path, "expected an array, found " + describe(j));
    }
    return j;
}

bool readBool(const Json& j, const std::string& path) {
    if (!j.is_boolean()) {
        fail(path, "expected true or false, found " + describe(j));
    }
    return j.get<bool>();
}

int64_t readInteger(const Json& j, const std::string& path, int64_t min, int64_t max) {
    if (!j.is_number_integer()) {
        fail(path, "expected an integer, found " + describe(j));
    }
    bool inRange = false;
    int64_t value = 0;
    if (j.is_number_unsigned()) {
        auto u = j.get<uint64_t>();
        inRange = u <= static_cast<uint64_t>(max) && static_cast<int64_t>(u) >= min;
        value = inRange ? static_cast<int64_t>(u) : max;
    } else {
        value = j.get<int64_t>();
        inRange = value >= min && value <= max;
    }
    if (!inRange) {
        fail(path, j.dump() + " is out of range (" + std::to_string(min) + ".." +
                       std::to_string(max) + ")");
    }
    return value;
}

int32_t readInt32(const Json& j, const std::string& path) {
    return static_cast<int32_t>(readInteger(j, path, std::numeric_limits<int32_t>::min(),
                                            std::numeric_limits<int32_t>::max()));
}

uint32_t readUint32(const Json& j, const std::string& path) {
    return static_cast<uint32_t>(readInteger(j, path, 0, std::numeric_limits<uint32_t>::max()));
}

// Table indexes: a negative value has no place in an OID.
int32_t readIndex(const Json& j, const std::string& path) {
    return static_cast<int32_t>(readInteger(j, path, 1, std::numeric_limits<int32_t>::max()));
}

double readTime(const Json& j, const std::string& path) {
    if (!j.is_number()) {
        fail(path, "expected seconds since 1970 as a number, found " + describe(j));
    }
    double t = j.get<double>();
    if (!std::isfinite(t) || t < 0) {
        fail(path, j.dump() + " is not a time (seconds since 1970)");
    }
    return t;
}

int32_t readEnum(const Json& j, const std::string& path, Names names) {
    if (j.is_string()) {
        const auto& text = j.get_ref<const std::string&>();
        for (const auto& n : names) {
            if (n.name == text) {
                return n.value;
            }
        }
        fail(path, "unknown name " + j.dump() + "; expected one of: " + nameList(names) +
                       " (or a number)");
    }
    if (j.is_number_integer()) {
        return readInt32(j, path);
    }
    fail(path, "expected a name (" + nameList(names) + ") or a number, found " + describe(j));
}

// A bit set as a list of bit names or bit numbers; bit k has the value 1 << k.
uint32_t readBits(const Json& j, const std::string& path, Names names, int width) {
    uint32_t bits = 0;
    const auto& list = array(j, path);
    for (size_t i = 0; i < list.size(); ++i) {
        const Json& item = list[i];
        auto itemPath = element(path, i);
        int64_t bit = -1;
        if (item.is_string()) {
            const auto& text = item.get_ref<const std::string&>();
            for (const auto& n : names) {
                if (n.name == text) {
                    bit = n.value;
                }
            }
            if (bit < 0) {
                fail(itemPath, "unknown bit name " + item.dump() +
                                   "; expected one of: " + nameList(names) + " (or a bit number)");
            }
        } else if (item.is_number_integer()) {
            bit = readInteger(item, itemPath, 0, width - 1);
        } else {
            fail(itemPath, "expected a bit name or number, found " + describe(item));
        }
        bits |= 1u << bit;
    }
    return bits;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

std::string hexBytes(std::string_view text, const std::string& path) {
    if (text.size() % 2 != 0) {
        fail(path, "odd number of hex digits");
    }
    std::string bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        int hi = hexDigit(text[i]);
        int lo = hexDigit(text[i + 1]);
        if (hi < 0 || lo < 0) {
            fail(path, "not a hex string: " + std::string(text));
        }
        bytes.push_back(static_cast<char>(hi * 16 + lo));
    }
    return bytes;
}

// An octet string: a JSON string is its UTF-8 bytes, {"hex": "0a0b"} raw bytes.
Zim::String8 readOctets(const Json& j, const std::string& path) {
    if (j.is_string()) {
        return Zim::String8(j.get_ref<const std::string&>());
    }
    if (j.is_object()) {
        Object o(j, path, {"hex"});
        const Json& hex = o.at("hex");
        if (!hex.is_string()) {
            fail(o.path("hex"), "expected a string, found " + describe(hex));
        }
        return Zim::String8(hexBytes(hex.get_ref<const std::string&>(), o.path("hex")));
    }
    fail(path, "expected a string or {\"hex\": \"...\"}, found " + describe(j));
}

// "aa:bb:cc:dd:ee:ff" (or with dashes) as six bytes.
Zim::String8 readMac(const Json& j, const std::string& path) {
    if (!j.is_string()) {
        return readOctets(j, path);
    }
    const auto& text = j.get_ref<const std::string&>();
    std::string digits;
    bool ok = text.size() == 17;
    for (size_t i = 0; ok && i < text.size(); ++i) {
        if (i % 3 == 2) {
            ok = text[i] == ':' || text[i] == '-';
        } else {
            ok = hexDigit(text[i]) >= 0;
            digits += text[i];
        }
    }
    if (!ok) {
        fail(path, "expected a MAC address such as \"00:1c:73:00:00:99\" (or {\"hex\": ...}), "
                   "found " +
                       describe(j));
    }
    return Zim::String8(hexBytes(digits, path));
}

Zim::String8 readIdOctets(const Json& j, const std::string& path, bool isMac) {
    return isMac ? readMac(j, path) : readOctets(j, path);
}

Zim::String8 readAddress(const Json& j, const std::string& path, int32_t family) {
    if (!j.is_string() || (family != familyIpV4 && family != familyIpV6)) {
        return readOctets(j, path);
    }
    const auto& text = j.get_ref<const std::string&>();
    unsigned char bytes[16];
    if (family == familyIpV4) {
        if (inet_pton(AF_INET, text.c_str(), bytes) != 1) {
            fail(path, "expected an IPv4 address such as \"192.0.2.1\", found " + describe(j));
        }
        return Zim::String8(bytes, 4);
    }
    if (inet_pton(AF_INET6, text.c_str(), bytes) != 1) {
        fail(path, "expected an IPv6 address such as \"2001:db8::1\", found " + describe(j));
    }
    return Zim::String8(bytes, 16);
}

// Dotted sub-identifiers, as net-snmp will have to encode them.
Zim::String8 readOid(const Json& j, const std::string& path) {
    if (!j.is_string()) {
        fail(path, "expected an OID such as \"1.3.6.1.2.1.2.2.1.1\", found " + describe(j));
    }
    std::string_view text = j.get_ref<const std::string&>();
    std::string_view rest = text;
    if (!rest.empty() && rest.front() == '.') {
        rest.remove_prefix(1);
    }
    size_t count = 0;
    bool ok = !rest.empty();
    while (ok && !rest.empty()) {
        size_t digits = 0;
        uint64_t value = 0;
        while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9' &&
               value <= 0xffffffffULL) {
            value = value * 10 + static_cast<unsigned>(rest[digits] - '0');
            ++digits;
        }
        ok = digits > 0 && value <= 0xffffffffULL && ++count <= 128;
        rest.remove_prefix(digits);
        if (ok && !rest.empty()) {
            ok = rest.front() == '.' && rest.size() > 1;
            rest.remove_prefix(1);
        }
    }
    if (!ok || count < 2) {
        fail(path, "expected an OID of 2 to 128 dotted numbers such as \"1.3.6.1.2.1.2.2.1.1\", "
                   "found " +
                       describe(j));
    }
    return Zim::String8(text);
}

// "00-12-bb", "00:12:bb", {"hex": "0012bb"} or a number.
Lldp::Oui readOui(const Json& j, const std::string& path) {
    if (j.is_number_integer()) {
        return Lldp::Oui(static_cast<uint32_t>(readInteger(j, path, 0, 0xffffff)));
    }
    std::string bytes;
    if (j.is_string()) {
        const auto& text = j.get_ref<const std::string&>();
        std::string digits;
        bool ok = text.size() == 8 && (text[2] == '-' || text[2] == ':') && text[5] == text[2];
        for (size_t i = 0; ok && i < text.size(); ++i) {
            if (i == 2 || i == 5) {
                continue;
            }
            ok = hexDigit(text[i]) >= 0;
            digits += text[i];
        }
        if (!ok) {
            fail(path, "expected an OUI such as \"00-12-bb\", found " + describe(j));
        }
        bytes = hexBytes(digits, path);
    } else {
        bytes = readOctets(j, path).str();
        if (bytes.size() != 3) {
            fail(path, "an OUI is 3 bytes, found " + std::to_string(bytes.size()));
        }
    }
    auto b = [&](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])); };
    return Lldp::Oui(b(0) << 16 | b(1) << 8 | b(2));
}

uint16_t readU16(const Json& j, const std::string& path) {
    if (j.is_string()) {
        const auto& text = j.get_ref<const std::string&>();
        if (text.size() > 2 && text.size() <= 6 && text[0] == '0' &&
            (text[1] == 'x' || text[1] == 'X')) {
            uint32_t value = 0;
            bool ok = true;
            for (size_t i = 2; ok && i < text.size(); ++i) {
                int d = hexDigit(text[i]);
                ok = d >= 0;
                value = value * 16 + static_cast<uint32_t>(std::max(d, 0));
            }
            if (ok) {
                return static_cast<uint16_t>(value);
            }
        }
        fail(path, "expected a 16-bit number such as 27648 or \"0x6c00\", found " + describe(j));
    }
    return static_cast<uint16_t>(readInteger(j, path, 0, 0xffff));
}

// Runs a platform constructor; its range error names what was wrong at this path.
template <class F> auto checked(const std::string& path, F&& make) {
    try {
        return make();
    } catch (const Zim::RangeException& e) {
        fail(path, e.what());
    }
}

template <class Key>
void unique(std::set<Key>& seen, const Key& key, const std::string& path, std::string_view what) {
    if (!seen.insert(key).second) {
        fail(path, "duplicate " + std::string(what));
    }
}

// --- the sections --------------------------------------------------------------------------

Lldp::ManagementAddress readManagementAddress(const Object& o) {
    int32_t subtype = o.required("subtype", [](const Json& j, const std::string& p) {
        int32_t family = readEnum(j, p, addressFamilies);
        if (family < 0) {
            fail(p, "an address family is not negative");
        }
        return family;
    });
    Zim::String8 address = o.required(
        "address", [&](const Json& j, const std::string& p) { return readAddress(j, p, subtype); });
    auto key =
        checked(o.path("address"), [&] { return Lldp::ManagementAddress::Key(subtype, address); });
    int32_t ifSubtype = 1; // unknown
    int32_t ifId = 0;
    Zim::String8 oidText("0.0");
    o.optional("ifSubtype", ifSubtype, [](const Json& j, const std::string& p) {
        return readEnum(j, p, manAddrIfSubtypes);
    });
    o.optional("ifId", ifId, readInt32);
    o.optional("oid", oidText, readOid);
    return Lldp::ManagementAddress(key, ifSubtype, ifId, oidText);
}

ConfigDoc readConfig(const Json& j, const std::string& path) {
    Object o(j, path, {"messageTxInterval", "messageTxHoldMultiplier", "reinitDelay", "txDelay"});
    ConfigDoc doc;
    o.optional("messageTxInterval", doc.messageTxInterval, readInt32);
    o.optional("messageTxHoldMultiplier", doc.messageTxHoldMultiplier, readInt32);
    o.optional("reinitDelay", doc.reinitDelay, readInt32);
    o.optional("txDelay", doc.txDelay, readInt32);
    return doc;
}

StatusDoc readStatus(const Json& j, const std::string& path) {
    Object o(j, path,
             {"remTablesLastChangeTime", "remTablesInserts", "remTablesDeletes", "remTablesDrops",
              "remTablesAgeouts"});
    StatusDoc doc;
    o.optional("remTablesLastChangeTime", doc.remTablesLastChangeTime, readTime);
    o.optional("remTablesInserts", doc.remTablesInserts, readUint32);
    o.optional("remTablesDeletes", doc.remTablesDeletes, readUint32);
    o.optional("remTablesDrops", doc.remTablesDrops, readUint32);
    o.optional("remTablesAgeouts", doc.remTablesAgeouts, readUint32);
    return doc;
}

auto sysCapReader = [](const Json& j, const std::string& p) {
    return Lldp::SystemCapabilitiesMap{readBits(j, p, systemCapabilities, 16)};
};

LocalSystemDoc readLocalSystem(const Json& j, const std::string& path) {
    Object o(j, path,
             {"chassisIdSubtype", "chassisId", "sysName", "sysDesc", "sysCapSupported",
              "sysCapEnabled", "managementAddresses"});
    LocalSystemDoc doc;
    doc.chassisIdSubtype = o.required("chassisIdSubtype", [](const Json& v, const std::string& p) {
        return readEnum(v, p, chassisIdSubtypes);
    });
    doc.chassisId = o.required("chassisId", [&](const Json& v, const std::string& p) {
        return readIdOctets(v, p, doc.chassisIdSubtype == chassisIdMac);
    });
    o.optional("sysName", doc.sysName, readOctets);
    o.optional("sysDesc", doc.sysDesc, readOctets);
    o.optional("sysCapSupported", doc.sysCapSupported, sysCapReader);
    o.optional("sysCapEnabled", doc.sysCapEnabled, sysCapReader);
    if (const Json* list = o.find("managementAddresses")) {
        auto listPath = o.path("managementAddresses");
        std::set<uint32_t> priorities;
        for (size_t i = 0; i < array(*list, listPath).size(); ++i) {
            auto itemPath = element(listPath, i);
            Object item((*list)[i], itemPath,
                        {"subtype", "address", "ifSubtype", "ifId", "oid", "priority"});
            LocalManAddrDoc addr{readManagementAddress(item), {}};
            uint32_t priority = 0;
            item.optional("priority", priority, readUint32);
            if (priority != 0) {
                unique(priorities, priority, item.path("priority"),
                       "priority: each management address needs its own");
            }
            addr.priority = Lldp::ManAddrPriority(priority);
            if (!doc.managementAddresses.emplace(addr.address.key(), addr).second) {
                fail(itemPath, "duplicate management address (same subtype and address)");
            }
        }
    }
    return doc;
}

PortConfigDoc readPortConfig(const Json& j, const std::string& path) {
    Object o(j, path,
             {"adminStatus", "notificationEnable", "tlvsTxEnable", "dot3TlvsTxEnable",
              "portVlanTxEnable", "manAddrTxEnable"});
    PortConfigDoc doc;
    o.optional("adminStatus", doc.adminStatus,
               [](const Json& v, const std::string& p) { return readEnum(v, p, adminStatuses); });
    o.optional("notificationEnable", doc.notificationEnable, readBool);
    o.optional("tlvsTxEnable", doc.tlvsTxEnable, [](const Json& v, const std::string& p) {
        return Lldp::PortConfig::EnabledTlvs(readBits(v, p, tlvsTxEnable, 4));
    });
    o.optional("dot3TlvsTxEnable", doc.dot3TlvsTxEnable, [](const Json& v, const std::string& p) {
        return Lldp::PortConfig::Dot3EnabledTlvs(readBits(v, p, dot3TlvsTxEnable, 4));
    });
    o.optional("portVlanTxEnable", doc.portVlanTxEnable, readBool);
    o.optional("manAddrTxEnable", doc.manAddrTxEnable, readBool);
    return doc;
}

auto linkAggStatusReader = [](const Json& j, const std::string& p) {
    return Lldp::LinkAggStatusMap{static_cast<uint8_t>(readBits(j, p, linkAggStatuses, 8))};
};

LocalPortDoc readLocalPort(const Json& j, const std::string& path, const Zim::String8& name) {
    Object o(j, path,
             {"portIdSubtype", "portId", "portDesc", "portVlanId", "linkAggStatus", "linkAggPortId",
              "maxFrameSize"});
    LocalPortDoc doc;
    doc.portId = name;
    o.optional("portIdSubtype", doc.portIdSubtype,
               [](const Json& v, const std::string& p) { return readEnum(v, p, portIdSubtypes); });
    o.optional("portId", doc.portId, [&](const Json& v, const std::string& p) {
        return readIdOctets(v, p, doc.portIdSubtype == portIdMac);
    });
    o.optional("portDesc", doc.portDesc, readOctets);
    o.optional("portVlanId", doc.portVlanId, readInt32);
    o.optional("linkAggStatus", doc.linkAggStatus, linkAggStatusReader);
    o.optional("linkAggPortId", doc.linkAggPortId, readInt32);
    o.optional("maxFrameSize", doc.maxFrameSize, readInt32);
    return doc;
}

StatisticsDoc readStatistics(const Json& j, const std::string& path) {
    Object o(j, path,
             {"txFramesTotal", "rxFramesDiscardedTotal", "rxFramesErrors", "rxFramesTotal",
              "rxTLVsDiscardedTotal", "rxTLVsUnrecognizedTotal", "rxAgeoutsTotal"});
    StatisticsDoc doc;
    o.optional("txFramesTotal", doc.txFramesTotal, readUint32);
    o.optional("rxFramesDiscardedTotal", doc.rxFramesDiscardedTotal, readUint32);
    o.optional("rxFramesErrors", doc.rxFramesErrors, readUint32);
    o.optional("rxFramesTotal", doc.rxFramesTotal, readUint32);
    o.optional("rxTLVsDiscardedTotal", doc.rxTLVsDiscardedTotal, readUint32);
    o.optional("rxTLVsUnrecognizedTotal", doc.rxTLVsUnrecognizedTotal, readUint32);
    o.optional("rxAgeoutsTotal", doc.rxAgeoutsTotal, readUint32);
    return doc;
}

// Calls each(itemJson, itemPath) for every element of an optional list.
template <class F> void forEachItem(const Object& o, std::string_view key, F&& each) {
    const Json* list = o.find(key);
    if (!list) {
        return;
    }
    auto listPath = o.path(key);
    array(*list, listPath);
    for (size_t i = 0; i < list->size(); ++i) {
        each((*list)[i], element(listPath, i));
    }
}

void readDot1(const Json& j, const std::string& path, NeighborDoc& doc) {
    Object o(j, path, {"portVlanId", "protoVlans", "vlanNames", "protocols"});
    if (const Json* v = o.find("portVlanId")) {
        doc.portVlanId = readInt32(*v, o.path("portVlanId"));
    }
    forEachItem(o, "protoVlans", [&](const Json& item, const std::string& p) {
        Object e(item, p, {"id", "supported", "enabled"});
        auto id = checked(e.path("id"), [&] {
            return Bridging::VlanIdOrNone(static_cast<uint16_t>(
                readInteger(e.at("id"), e.path("id"), 0, std::numeric_limits<uint16_t>::max())));
        });
        bool supported = false;
        bool enabled = false;
        e.optional("supported", supported, readBool);
        e.optional("enabled", enabled, readBool);
        if (!doc.protoVlans.emplace(id, Lldp::PortAndProtocolVlan(id, supported, enabled)).second) {
            fail(e.path("id"), "duplicate port-and-protocol VLAN id");
        }
    });
    forEachItem(o, "vlanNames", [&](const Json& item, const std::string& p) {
        Object e(item, p, {"id", "name"});
        auto id = checked(e.path("id"), [&] {
            return Bridging::VlanId(static_cast<uint16_t>(
                readInteger(e.at("id"), e.path("id"), 0, std::numeric_limits<uint16_t>::max())));
        });
        auto name = e.required("name", readOctets);
        if (!doc.vlanNames.emplace(id, Lldp::VlanName(id, name)).second) {
            fail(e.path("id"), "duplicate VLAN id");
        }
    });
    forEachItem(o, "protocols", [&](const Json& item, const std::string& p) {
        Object e(item, p, {"index", "id"});
        int32_t index = e.required("index", readIndex);
        auto id = e.required("id", readOctets);
        if (!doc.protocols.emplace(index, Lldp::ProtocolIdentityInfo(index, id)).second) {
            fail(e.path("index"), "duplicate protocol index");
        }
    });
}

void readDot3(const Json& j, const std::string& path, NeighborDoc& doc) {
    Object o(j, path, {"macPhy", "power", "linkAgg", "maxFrameSize"});
    if (const Json* v = o.find("macPhy")) {
        Object e(*v, o.path("macPhy"),
                 {"autoNegSupported", "autoNegEnabled", "autoNegAdvertisedCap", "operMauType"});
        Lldp::MacPhyConfigStatusInfo info;
        e.optional("autoNegSupported", info.autoNegSupported, readBool);
        e.optional("autoNegEnabled", info.autoNegEnabled, readBool);
        e.optional("autoNegAdvertisedCap", info.autoNegAdvertisedCapAsU16, readU16);
        e.optional("operMauType", info.operMauType, readInt32);
        doc.macPhy = info;
    }
    if (const Json* v = o.find("power")) {
        Object e(*v, o.path("power"),
                 {"portClass", "mdiSupported", "mdiEnabled", "pairControllable", "pairs", "class"});
        Lldp::PowerViaMdiInfo info;
        e.optional("portClass", info.powerPortClass, [](const Json& x, const std::string& p) {
            return readEnum(x, p, powerPortClasses);
        });
        e.optional("mdiSupported", info.powerMdiSupported, readBool);
        e.optional("mdiEnabled", info.powerMdiEnabled, readBool);
        e.optional("pairControllable", info.powerPairControllable, readBool);
        e.optional("pairs", info.powerPairs,
                   [](const Json& x, const std::string& p) { return readEnum(x, p, powerPairs); });
        e.optional("class", info.powerClass, [](const Json& x, const std::string& p) {
            return readEnum(x, p, powerClasses);
        });
        doc.power = info;
    }
    if (const Json* v = o.find("linkAgg")) {
        Object e(*v, o.path("linkAgg"), {"status", "portId"});
        LinkAggDoc agg;
        e.optional("status", agg.status, linkAggStatusReader);
        e.optional("portId", agg.portId, readInt32);
        doc.linkAgg = agg;
    }
    if (const Json* v = o.find("maxFrameSize")) {
        doc.maxFrameSize = readInt32(*v, o.path("maxFrameSize"));
    }
}

NeighborDoc readNeighbor(const Json& j, const std::string& path) {
    Object o(j, path,
             {"index", "lastChangeTime", "chassisIdSubtype", "chassisId", "portIdSubtype", "portId",
              "portDesc", "sysName", "sysDesc", "sysCapSupported", "sysCapEnabled",
              "managementAddresses", "unknownTlvs", "orgDefTlvs", "dot1", "dot3"});
    NeighborDoc doc;
    doc.index = o.required("index", readIndex);
    if (const Json* v = o.find("lastChangeTime")) {
        doc.lastChangeTime = readTime(*v, o.path("lastChangeTime"));
    }
    doc.chassisIdSubtype = o.required("chassisIdSubtype", [](const Json& v, const std::string& p) {
        return readEnum(v, p, chassisIdSubtypes);
    });
    doc.chassisId = o.required("chassisId", [&](const Json& v, const std::string& p) {
        return readIdOctets(v, p, doc.chassisIdSubtype == chassisIdMac);
    });
    doc.portIdSubtype = o.required("portIdSubtype", [](const Json& v, const std::string& p) {
        return readEnum(v, p, portIdSubtypes);
    });
    doc.portId = o.required("portId", [&](const Json& v, const std::string& p) {
        return readIdOctets(v, p, doc.portIdSubtype == portIdMac);
    });
    o.optional("portDesc", doc.portDesc, readOctets);
    o.optional("sysName", doc.sysName, readOctets);
    o.optional("sysDesc", doc.sysDesc, readOctets);
    o.optional("sysCapSupported", doc.sysCapSupported, sysCapReader);
    o.optional("sysCapEnabled", doc.sysCapEnabled, sysCapReader);
    forEachItem(o, "managementAddresses", [&](const Json& item, const std::string& p) {
        Object e(item, p, {"subtype", "address", "ifSubtype", "ifId", "oid"});
        auto addr = readManagementAddress(e);
        if (!doc.managementAddresses.emplace(addr.key(), addr).second) {
            fail(p, "duplicate management address (same subtype and address)");
        }
    });
    forEachItem(o, "unknownTlvs", [&](const Json& item, const std::string& p) {
        Object e(item, p, {"type", "info"});
        auto type = e.required("type", readUint32);
        auto info = e.required("info", readOctets);
        auto tlv = checked(p, [&] { return Lldp::UnknownTlv(type, info); });
        if (!doc.unknownTlvs.emplace(type, tlv).second) {
            fail(e.path("type"), "duplicate TLV type");
        }
    });
    forEachItem(o, "orgDefTlvs", [&](const Json& item, const std::string& p) {
        Object e(item, p, {"oui", "subtype", "index", "info"});
        Lldp::UnknownOrgDefTlv::Key key(e.required("oui", readOui),
                                        e.required("subtype", readUint32),
                                        e.required("index", readIndex));
        auto info = e.required("info", readOctets);
        if (!doc.orgDefTlvs.emplace(key, Lldp::UnknownOrgDefTlv(key, info)).second) {
            fail(p, "duplicate organisationally defined TLV (same oui, subtype and index)");
        }
    });
    if (const Json* v = o.find("dot1")) {
        readDot1(*v, o.path("dot1"), doc);
    }
    if (const Json* v = o.find("dot3")) {
        readDot3(*v, o.path("dot3"), doc);
    }
    return doc;
}

InterfaceDoc readInterface(const Json& j, const std::string& path) {
    Object o(j, path, {"name", "portNum", "config", "local", "statistics", "neighbors"});
    InterfaceDoc doc;
    auto name = o.required("name", [](const Json& v, const std::string& p) {
        if (!v.is_string() || v.get_ref<const std::string&>().empty()) {
            fail(p, "expected an interface name, found " + describe(v));
        }
        return Zim::String8(v.get_ref<const std::string&>());
    });
    doc.name = Ifkit::IntfId(name);
    doc.portNum = Interface::EthPortId(
        static_cast<uint16_t>(o.required("portNum", [](const Json& v, const std::string& p) {
            return readInteger(v, p, 1, Interface::EthPortId::max);
        })));
    o.optional("config", doc.config, readPortConfig);
    doc.local.portId = name;
    if (const Json* v = o.find("local")) {
        doc.local = readLocalPort(*v, o.path("local"), name);
    }
    o.optional("statistics", doc.statistics, readStatistics);
    forEachItem(o, "neighbors", [&](const Json& item, const std::string& p) {
        auto neighbor = readNeighbor(item, p);
        if (!doc.neighbors.emplace(neighbor.index, neighbor).second) {
            fail(child(p, "index"), "duplicate neighbour index on this interface");
        }
    });
    return doc;
}

StateDoc readState(const Json& j) {
    Object o(j, "$", {"config", "status", "localSystem", "interfaces"});
    StateDoc doc;
    o.optional("config", doc.config, readConfig);
    o.optional("status", doc.status, readStatus);
    doc.localSystem = o.required("localSystem", readLocalSystem);
    std::set<uint16_t> ports;
    forEachItem(o, "interfaces", [&](const Json& item, const std::string& p) {
        auto intf = readInterface(item, p);
        unique(ports, intf.portNum.value(), child(p, "portNum"),
               "portNum: each interface needs its own");
        auto name = intf.name;
        if (!doc.interfaces.emplace(name, std::move(intf)).second) {
            fail(child(p, "name"), "duplicate interface name");
        }
    });
    return doc;
}

// Where the parser stands, so that a duplicate key can be named by its path.
class DuplicateKeyFinder {
public:
    bool operator()(int, Json::parse_event_t event, const Json& parsed) {
        using E = Json::parse_event_t;
        switch (event) {
        case E::object_start:
            stepInArray();
            frames_.push_back({false, {}, 0, {}});
            break;
        case E::array_start:
            stepInArray();
            frames_.push_back({true, {}, 0, {}});
            break;
        case E::object_end:
        case E::array_end:
            if (!frames_.empty()) {
                frames_.pop_back();
            }
            break;
        case E::key:
            if (!frames_.empty()) {
                auto& top = frames_.back();
                top.key = parsed.get<std::string>();
                if (!top.keys.insert(top.key).second && duplicate_.empty()) {
                    duplicate_ = path();
                }
            }
            break;
        case E::value:
            stepInArray();
            break;
        }
        return true;
    }
    const std::string& duplicate() const noexcept { return duplicate_; }

private:
    struct Frame {
        bool isArray;
        std::string key;
        size_t next; // index of the next element of an array
        std::set<std::string> keys;
    };
    void stepInArray() {
        if (!frames_.empty() && frames_.back().isArray) {
            ++frames_.back().next;
        }
    }
    std::string path() const {
        std::string p = "$";
        for (const auto& f : frames_) {
            p += f.isArray ? "[" + std::to_string(f.next - 1) + "]" : "." + f.key;
        }
        return p;
    }

    std::vector<Frame> frames_;
    std::string duplicate_;
};

std::string lineAndColumn(std::string_view text, size_t byte) {
    size_t line = 1;
    size_t column = 1;
    for (size_t i = 0; i + 1 < byte && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

} // namespace

StateDoc parseState(std::string_view text) {
    Json j;
    DuplicateKeyFinder finder;
    try {
        j = Json::parse(text.begin(), text.end(), std::ref(finder));
    } catch (const Json::parse_error& e) {
        // nlohmann's text starts with the position in its own words; keep the reason, and
        // never copy the file's bad bytes into the log.
        std::string what = e.what();
        if (auto column = what.find("column "); column != std::string::npos) {
            if (auto colon = what.find(": ", column); colon != std::string::npos) {
                what = what.substr(colon + 2);
            }
        }
        throw StateError(lineAndColumn(text, e.byte), "not valid JSON: " + Zim::printable(what));
    }
    if (!finder.duplicate().empty()) {
        throw StateError(finder.duplicate(), "duplicate key (a key may appear once per object)");
    }
    return readState(j);
}

StateDoc loadStateFile(const std::string& fileName) {
    std::error_code error;
    if (std::filesystem::is_directory(fileName, error)) {
        throw StateError("$", "cannot read: is a directory");
    }
    std::ifstream in(fileName, std::ios::binary);
    if (!in) {
        throw StateError("$", std::string("cannot open: ") + std::strerror(errno));
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        throw StateError("$", std::string("cannot read: ") + std::strerror(errno));
    }
    return parseState(text.str());
}

} // namespace LldpSnmpd
