#include "state/ExtensionKeys.h"

#include "state/StateKeys.h"
#include "state/ValueTypes.h"

#include "platform/lldp/LocationEncoding.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>

namespace LldpSnmpd {

namespace {

// --- the MIBs' names ------------------------------------------------------------------------

constexpr Name medDeviceClasses[] = {{"notDefined", 0},
                                     {"endpointClass1", 1},
                                     {"endpointClass2", 2},
                                     {"endpointClass3", 3},
                                     {"networkConnectivity", 4}};
constexpr Name medCapabilityNames[] = {{"capabilities", 0}, {"networkPolicy", 1}, {"location", 2},
                                       {"extendedPSE", 3},  {"extendedPD", 4},    {"inventory", 5}};
constexpr Name policyAppTypes[] = {{"unknown", 0},
                                   {"voice", 1},
                                   {"voiceSignaling", 2},
                                   {"guestVoice", 3},
                                   {"guestVoiceSignaling", 4},
                                   {"softPhoneVoice", 5},
                                   {"videoconferencing", 6},
                                   {"streamingVideo", 7},
                                   {"videoSignaling", 8}};
constexpr Name locationSubtypes[] = {
    {"unknown", 1}, {"coordinateBased", 2}, {"civicAddress", 3}, {"elin", 4}};
constexpr Name xpoeDeviceTypes[] = {{"unknown", 1}, {"pseDevice", 2}, {"pdDevice", 3}, {"none", 4}};
constexpr Name psePowerSources[] = {{"unknown", 1}, {"primary", 2}, {"backup", 3}};
constexpr Name pdPowerSources[] = {
    {"unknown", 1}, {"fromPSE", 2}, {"local", 3}, {"localAndPSE", 4}};
constexpr Name powerPriorities[] = {{"unknown", 1}, {"critical", 2}, {"high", 3}, {"low", 4}};
constexpr Name altitudeTypes[] = {{"none", 0}, {"meters", 1}, {"floors", 2}};
constexpr Name datums[] = {{"WGS84", 1}, {"NAD83/NAVD88", 2}, {"NAD83/MLLW", 3}};
constexpr Name civicWhats[] = {{"dhcpServer", 0}, {"networkElement", 1}, {"client", 2}};

// --- value types ----------------------------------------------------------------------------

std::string listOf(Names names) {
    std::string out;
    for (const auto& n : names) {
        out +=
            (out.empty() ? "" : ", ") + std::string(n.name) + " (" + std::to_string(n.value) + ")";
    }
    return out;
}

// An enumeration the MIB bounds: a name, or one of the names' numbers.
ValueType<int32_t> bounded(std::string text, Names names) {
    auto type = enumeration(std::move(text), names);
    Schema values = Schema::array();
    for (const auto& n : names) {
        values.push_back(n.name);
        values.push_back(n.value);
    }
    type.schema = {{"enum", values}};
    type.read = [names](const Json& j, const std::string& path) {
        const int32_t value = readEnum(j, path, names);
        for (const auto& n : names) {
            if (n.value == value) {
                return value;
            }
        }
        fail(path, std::to_string(value) + " is not one of: " + listOf(names));
    };
    return type;
}

ValueType<uint32_t> unsignedRange(std::string text, uint32_t min, uint32_t max) {
    return {[min, max](const Json& j, const std::string& path) {
                return static_cast<uint32_t>(readInteger(j, path, min, max));
            },
            text + " " + std::to_string(min) + ".." + std::to_string(max),
            {{"type", "integer"}, {"minimum", min}, {"maximum", max}},
            [](const uint32_t& v) { return std::to_string(v); }};
}

// Tenths of a watt, as the MIB carries power.
ValueType<uint32_t> tenthsOfWatt() {
    return unsignedRange("tenths of a watt", 0, 1023);
}

// A number within low..high, which the location's fixed-point fields can carry.
ValueType<double> number(std::string text, double low, double high) {
    return {[low, high](const Json& j, const std::string& path) {
                if (!j.is_number() || !std::isfinite(j.get<double>())) {
                    fail(path, "expected a number, found " + describe(j));
                }
                const double value = j.get<double>();
                if (value < low || value > high) {
                    std::ostringstream range;
                    range.precision(12);
                    range << low << ".." << high;
                    fail(path, j.dump() + " is out of range (" + range.str() + ")");
                }
                return value;
            },
            std::move(text),
            {{"type", "number"}, {"minimum", low}, {"maximum", high}},
            [](const double& v) {
                std::ostringstream shown;
                shown << v;
                return shown.str();
            }};
}

// An octet string the MIB shows in at most `bound` bytes.
ValueType<Zim::String8> boundedOctets(size_t min, size_t bound) {
    auto type =
        octets("octet string, " + std::to_string(min) + " to " + std::to_string(bound) + " bytes");
    type.read = [min, bound](const Json& j, const std::string& path) {
        auto value = readOctets(j, path);
        checkLength(j, path, value.size(), min, bound);
        return value;
    };
    return type;
}

// An emergency location identification number: 10 to 25 digits.
ValueType<Zim::String8> elin() {
    auto type = octets("10 to 25 digits");
    type.read = [](const Json& j, const std::string& path) {
        auto digits = readOctets(j, path);
        const auto& text = digits.str();
        if (text.size() < 10 || text.size() > 25 ||
            !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            fail(path, describe(j) + " is not an ELIN (10 to 25 digits)");
        }
        return digits;
    };
    return type;
}

auto medCapabilities() {
    return bitSet<Lldp::MedCapabilities>("LldpXMedCapabilities", medCapabilityNames, 6);
}

ValueType<Lldp::PolicyAppType> appType() {
    auto names = bounded("PolicyAppType (one application type)", policyAppTypes);
    return {[read = names.read](const Json& j, const std::string& path) {
                return Lldp::PolicyAppType(static_cast<uint32_t>(read(j, path)));
            },
            names.text,
            names.schema,
            {}};
}

template <class Vlan> ValueType<Vlan> vlan(std::string text, uint16_t min) {
    return {[min](const Json& j, const std::string& path) {
                return Vlan(static_cast<uint16_t>(readInteger(j, path, min, 4094)));
            },
            std::move(text),
            {{"type", "integer"}, {"minimum", min}, {"maximum", 4094}},
            {}};
}

// --- the local port's 802.1 members -----------------------------------------------------------

struct ProtoVlanItem {
    Bridging::VlanIdOrNone id;
    bool supported = false;
    bool enabled = false;
    bool txEnable = false;
};

struct VlanNameItem {
    Bridging::VlanId id;
    Zim::String8 name;
    bool txEnable = false;
};

struct ProtocolItem {
    int32_t index = 0;
    Zim::String8 id;
    bool txEnable = false;
};

const char* const txEnableText = "the port sends it (the configuration table's TxEnable)";

const Section<ProtoVlanItem>& protoVlanKeys() {
    static const auto s = [] {
        Section<ProtoVlanItem> keys("interface.local.protoVlans[]");
        keys.field("id", &ProtoVlanItem::id, vlan<Bridging::VlanIdOrNone>("integer 0..4094", 0),
                   "lldpXdot1LocProtoVlanId, unique", required)
            .field("supported", &ProtoVlanItem::supported, boolean(),
                   "lldpXdot1LocProtoVlanSupported")
            .field("enabled", &ProtoVlanItem::enabled, boolean(), "lldpXdot1LocProtoVlanEnabled")
            .field("txEnable", &ProtoVlanItem::txEnable, boolean(), txEnableText);
        return keys;
    }();
    return s;
}

const Section<VlanNameItem>& vlanNameKeys() {
    static const auto s = [] {
        Section<VlanNameItem> keys("interface.local.vlanNames[]");
        keys.field("id", &VlanNameItem::id, vlan<Bridging::VlanId>("integer 1..4094", 1),
                   "lldpXdot1LocVlanId, unique", required)
            .field("name", &VlanNameItem::name, boundedOctets(1, 32), "lldpXdot1LocVlanName",
                   required)
            .field("txEnable", &VlanNameItem::txEnable, boolean(), txEnableText);
        return keys;
    }();
    return s;
}

const Section<ProtocolItem>& protocolKeys() {
    static const auto s = [] {
        Section<ProtocolItem> keys("interface.local.protocols[]");
        keys.field("index", &ProtocolItem::index, index("integer"),
                   "lldpXdot1LocProtocolIndex, unique", required)
            .field("id", &ProtocolItem::id, boundedOctets(1, 255), "lldpXdot1LocProtocolId",
                   required)
            .field("txEnable", &ProtocolItem::txEnable, boolean(), txEnableText);
        return keys;
    }();
    return s;
}

const Section<Lldp::MacPhyConfigStatusInfo>& localMacPhyKeys() {
    static const auto s = macPhySection("interface.local.macPhy");
    return s;
}

const Section<Lldp::PowerViaMdiInfo>& localPowerKeys() {
    static const auto s = powerSection("interface.local.power");
    return s;
}

// --- LLDP-MED values shared by the local port and the neighbour ----------------------------

const Section<Lldp::MediaPolicy>& policyKeys(const char* name) {
    using P = Lldp::MediaPolicy;
    auto make = [](const char* n) {
        Section<P> keys(n);
        keys.field("appType", &P::appType, appType(), "the application type, unique", required)
            .field("vlanId", &P::vlanId, integer("integer", 0, 4095),
                   "0: priority tagged, 4095: reserved")
            .field("priority", &P::priority, integer("integer", 0, 7), "the 802.1p priority")
            .field("dscp", &P::dscp, integer("integer", 0, 63), "the DSCP value")
            .field("unknown", &P::unknown, boolean(), "the policy is not known")
            .field("tagged", &P::tagged, boolean(), "the application uses a tagged VLAN");
        return keys;
    };
    static const auto local = make("interface.local.med.policies[]");
    static const auto remote = make("neighbor.med.policies[]");
    return std::string_view(name) == "local" ? local : remote;
}

const Section<Lldp::Coordinates>& coordinateKeys() {
    using C = Lldp::Coordinates;
    static const auto s = [] {
        Section<C> keys("location.coordinates");
        keys.field("latitude", &C::latitude, number("degrees, -90..90", -90, 90), "north positive",
                   required)
            .field("longitude", &C::longitude, number("degrees, -180..180", -180, 180),
                   "east positive", required)
            // 22 whole bits of two's complement, 8 of fraction.
            .field("altitude", &C::altitude, number("number, -2097152..2097151", -2097152, 2097151),
                   "in altitudeType units")
            .field("altitudeType", &C::altitudeType, bounded("altitude type", altitudeTypes), "")
            .field("datum", &C::datum, bounded("datum", datums), "")
            .field("latitudeResolution", &C::latitudeResolution, unsignedRange("bits", 0, 34), "")
            .field("longitudeResolution", &C::longitudeResolution, unsignedRange("bits", 0, 34), "")
            .field("altitudeResolution", &C::altitudeResolution, unsignedRange("bits", 0, 30), "");
        return keys;
    }();
    return s;
}

struct CivicElementItem {
    uint32_t type = 0;
    Zim::String8 value;
};

const Section<CivicElementItem>& civicElementKeys() {
    static const auto s = [] {
        Section<CivicElementItem> keys("location.civicAddress.elements[]");
        keys.field("type", &CivicElementItem::type, unsignedRange("CAtype", 0, 255), "", required)
            .field("value", &CivicElementItem::value, boundedOctets(0, 255), "", required);
        return keys;
    }();
    return s;
}

const Section<Lldp::CivicAddress>& civicAddressKeys() {
    using A = Lldp::CivicAddress;
    static const auto s = [] {
        Section<A> keys("location.civicAddress");
        auto country = octets("two letters");
        keys.field("what", &A::what, bounded("what", civicWhats), "what the address locates")
            .custom({"country",
                     true,
                     "two letters",
                     "",
                     "the country code",
                     {{"type", "string"}, {"minLength", 2}, {"maxLength", 2}}},
                    [](const Json& j, const std::string& path, A& doc) {
                        doc.country = readOctets(j, path).str();
                        const auto letter = [](char c) {
                            return std::isalpha(static_cast<unsigned char>(c)) != 0;
                        };
                        if (doc.country.size() != 2 || !letter(doc.country[0]) ||
                            !letter(doc.country[1])) {
                            fail(path, describe(j) + " is not a country code (two letters)");
                        }
                    })
            .custom(listInfo("elements", civicElementKeys(), "the address elements, in order"),
                    [](const Json& j, const std::string& path, A& doc) {
                        readList(j, path, civicElementKeys(), [&](CivicElementItem e, auto&) {
                            doc.elements.emplace_back(e.type, e.value.str());
                        });
                    });
        return keys;
    }();
    return s;
}

struct LocationItem {
    int32_t subtype = 0;
    std::optional<Zim::String8> info;
    std::optional<Lldp::Coordinates> coordinates;
    std::optional<Lldp::CivicAddress> civicAddress;
    std::optional<Zim::String8> elin;

    // Exactly one form; the encodings refuse what their format cannot carry.
    Lldp::MedLocation value(const std::string& path) const {
        const int forms =
            (info ? 1 : 0) + (coordinates ? 1 : 0) + (civicAddress ? 1 : 0) + (elin ? 1 : 0);
        if (forms != 1) {
            fail(path, "expected exactly one of: info (with subtype), coordinates, civicAddress, "
                       "elin");
        }
        if (coordinates) {
            return Lldp::MedLocation(2, checked(child(path, "coordinates"), [&] {
                                         return Lldp::encodeCoordinates(*coordinates);
                                     }));
        }
        if (civicAddress) {
            return Lldp::MedLocation(3, checked(child(path, "civicAddress"), [&] {
                                         return Lldp::encodeCivicAddress(*civicAddress);
                                     }));
        }
        if (elin) {
            return Lldp::MedLocation(
                4, checked(child(path, "elin"), [&] { return Lldp::encodeElin(elin->view()); }));
        }
        if (subtype == 0) {
            fail(child(path, "subtype"), "missing: info needs its subtype (1..4 or a name)");
        }
        return Lldp::MedLocation(subtype, *info);
    }
};

const Section<LocationItem>& locationKeys(const char* name) {
    using L = LocationItem;
    auto make = [](const char* n) {
        Section<L> keys(n);
        keys.field("subtype", &L::subtype, bounded("LocationSubtype", locationSubtypes),
                   "with info: the format of info")
            .optional("info", &L::info, boundedOctets(0, 256), "the location as it is sent",
                      byDefault("one of the other forms"))
            .custom(objectInfo("coordinates", coordinateKeys(), "coordinateBased"),
                    optionalObject(&L::coordinates, coordinateKeys()))
            .custom(objectInfo("civicAddress", civicAddressKeys(), "civicAddress"),
                    optionalObject(&L::civicAddress, civicAddressKeys()))
            .optional("elin", &L::elin, elin(), "elin", byDefault("one of the other forms"));
        return keys;
    };
    static const auto local = make("interface.local.med.locations[]");
    static const auto remote = make("neighbor.med.locations[]");
    return std::string_view(name) == "local" ? local : remote;
}

template <class Doc>
void readPolicies(const Json& j, const std::string& path, const char* side,
                  std::map<Lldp::PolicyAppType, Lldp::MediaPolicy>& out) {
    readList(j, path, policyKeys(side), [&](Lldp::MediaPolicy policy, auto& p) {
        if (!out.emplace(policy.appType, policy).second) {
            failDuplicate(child(p, "appType"), std::to_string(policy.appType.value()),
                          "application type");
        }
    });
}

void readLocations(const Json& j, const std::string& path, const char* side,
                   std::map<int32_t, Lldp::MedLocation>& out) {
    readList(j, path, locationKeys(side), [&](LocationItem item, auto& p) {
        auto location = item.value(p);
        if (!out.emplace(location.subtype(), location).second) {
            // The key that gives the subtype: the form's own, or subtype beside info.
            const char* form = item.coordinates    ? "coordinates"
                               : item.civicAddress ? "civicAddress"
                               : item.elin         ? "elin"
                                                   : "subtype";
            failDuplicate(child(p, form), std::to_string(location.subtype()), "location subtype",
                          "each form appears once per list");
        }
    });
}

const Section<Lldp::MedInventory>& inventoryKeys(const char* name) {
    using I = Lldp::MedInventory;
    auto make = [](const char* n) {
        Section<I> keys(n);
        const auto text = boundedOctets(0, 32);
        keys.field("hardwareRev", &I::hardwareRev, text, "")
            .field("firmwareRev", &I::firmwareRev, text, "")
            .field("softwareRev", &I::softwareRev, text, "")
            .field("serialNum", &I::serialNum, text, "")
            .field("mfgName", &I::mfgName, text, "")
            .field("modelName", &I::modelName, text, "")
            .field("assetId", &I::assetId, text, "");
        return keys;
    };
    static const auto local = make("localSystem.med.inventory");
    static const auto remote = make("neighbor.med.inventory");
    return std::string_view(name) == "local" ? local : remote;
}

// --- the local system and the local port -----------------------------------------------------

const Section<Lldp::MedLocalPower>& localPowerMedKeys() {
    using P = Lldp::MedLocalPower;
    static const auto s = [] {
        Section<P> keys("localSystem.med.power");
        keys.field("deviceType", &P::deviceType, bounded("device type", xpoeDeviceTypes),
                   "lldpXMedLocXPoEDeviceType")
            .field("pseSource", &P::pseSource, bounded("PSE power source", psePowerSources),
                   "lldpXMedLocXPoEPSEPowerSource")
            .field("pdPowerReq", &P::pdPowerReq, tenthsOfWatt(), "lldpXMedLocXPoEPDPowerReq")
            .field("pdSource", &P::pdSource, bounded("PD power source", pdPowerSources),
                   "lldpXMedLocXPoEPDPowerSource")
            .field("pdPriority", &P::pdPriority, bounded("power priority", powerPriorities),
                   "lldpXMedLocXPoEPDPowerPriority");
        return keys;
    }();
    return s;
}

const Section<Lldp::MedPsePortPower>& psePortPowerKeys() {
    using P = Lldp::MedPsePortPower;
    static const auto s = [] {
        Section<P> keys("interface.local.med.psePower");
        keys.field("powerAv", &P::powerAv, tenthsOfWatt(), "lldpXMedLocXPoEPSEPortPowerAv")
            .field("pdPriority", &P::pdPriority, bounded("power priority", powerPriorities),
                   "lldpXMedLocXPoEPSEPortPDPriority");
        return keys;
    }();
    return s;
}

const Section<LocalPortMedDoc>& localPortMedKeys() {
    using D = LocalPortMedDoc;
    static const auto s = [] {
        Section<D> keys("interface.local.med");
        keys.field("capSupported", &D::capSupported, medCapabilities(), "lldpXMedPortCapSupported")
            .field("tlvsTxEnable", &D::tlvsTxEnable, medCapabilities(),
                   "lldpXMedPortConfigTLVsTxEnable")
            .field("notifEnable", &D::notifEnable, boolean(),
                   "lldpXMedPortConfigNotifEnable: a MED endpoint appearing on or leaving the "
                   "port is notified")
            .custom(listInfo("policies", policyKeys("local"), "lldpXMedLocMediaPolicyTable"),
                    [](const Json& j, const std::string& path, D& doc) {
                        readPolicies<D>(j, path, "local", doc.policies);
                    })
            .custom(listInfo("locations", locationKeys("local"), "lldpXMedLocLocationTable"),
                    [](const Json& j, const std::string& path, D& doc) {
                        readLocations(j, path, "local", doc.locations);
                    })
            .custom({"psePower", false, "object (`interface.local.med.psePower`)", "not a PSE port",
                     "lldpXMedLocXPoEPSEPortTable", psePortPowerKeys().schema()},
                    optionalObject(&D::psePower, psePortPowerKeys()));
        return keys;
    }();
    return s;
}

// --- the neighbour -------------------------------------------------------------------------

struct NeighborPowerItem {
    int32_t deviceType = 1;
    int32_t source = 1;
    int32_t priority = 1;
    uint32_t value = 0;
};

// The power source's names depend on which side of the cable the neighbour is.
DependentType<NeighborPowerItem, int32_t> powerSource() {
    auto pse = bounded("PSE power source", psePowerSources);
    auto pd = bounded("PD power source", pdPowerSources);
    return {[pse, pd](const Json& j, const std::string& path, const NeighborPowerItem& item) {
                return item.deviceType == Lldp::MedExtendedPower::pseDevice ? pse.read(j, path)
                                                                            : pd.read(j, path);
            },
            "enumeration: PSE (" + listOf(psePowerSources) + ") or PD (" + listOf(pdPowerSources) +
                ") as deviceType says",
            {{"anyOf", {pse.schema, pd.schema}}},
            [](const int32_t& v) { return std::to_string(v); }};
}

const Section<NeighborPowerItem>& neighborPowerKeys() {
    using P = NeighborPowerItem;
    static const auto s = [] {
        Section<P> keys("neighbor.med.power");
        keys.field("deviceType", &P::deviceType, bounded("device type", xpoeDeviceTypes),
                   "lldpXMedRemXPoEDeviceType", required)
            .field("source", &P::source, powerSource(), "the power source")
            .field("priority", &P::priority, bounded("power priority", powerPriorities),
                   "the power priority")
            .field("value", &P::value, tenthsOfWatt(), "available from a PSE, required by a PD");
        return keys;
    }();
    return s;
}

struct NeighborMedItem {
    int32_t deviceClass = 0;
    std::optional<Lldp::MedCapabilities> capSupported;
    std::optional<Lldp::MedCapabilities> capCurrent;
    NeighborMedDoc doc;
    std::optional<NeighborPowerItem> power;
};

const Section<NeighborMedItem>& neighborMedKeys() {
    using M = NeighborMedItem;
    static const auto s = [] {
        Section<M> keys("neighbor.med");
        keys.field("deviceClass", &M::deviceClass, bounded("LldpXMedDeviceClass", medDeviceClasses),
                   "lldpXMedRemDeviceClass", required)
            .optional("capSupported", &M::capSupported, medCapabilities(),
                      "lldpXMedRemCapSupported", byDefault("capCurrent"))
            .optional("capCurrent", &M::capCurrent, medCapabilities(),
                      "lldpXMedRemCapCurrent; must name every MED TLV given here",
                      byDefault("the MED TLVs given here"))
            .custom(listInfo("policies", policyKeys("remote"), "lldpXMedRemMediaPolicyTable"),
                    [](const Json& j, const std::string& path, M& item) {
                        readPolicies<M>(j, path, "remote", item.doc.policies);
                    })
            .custom(objectInfo("inventory", inventoryKeys("remote"), "lldpXMedRemInventoryTable"),
                    [](const Json& j, const std::string& path, M& item) {
                        item.doc.inventory = inventoryKeys("remote").read(j, path);
                    })
            .custom(listInfo("locations", locationKeys("remote"), "lldpXMedRemLocationTable"),
                    [](const Json& j, const std::string& path, M& item) {
                        readLocations(j, path, "remote", item.doc.locations);
                    })
            .custom(objectInfo("power", neighborPowerKeys(),
                               "lldpXMedRemXPoETable and, by device type, lldpXMedRemXPoEPSETable "
                               "or lldpXMedRemXPoEPDTable"),
                    optionalObject(&M::power, neighborPowerKeys()));
        return keys;
    }();
    return s;
}

// capCurrent, when left out, is what the neighbour sent; when given, it must name everything
// the neighbour sent, since a MED table shows a TLV only with its bit set.
NeighborMedDoc neighborMed(const NeighborMedItem& item, const std::string& path) {
    NeighborMedDoc doc = item.doc;
    doc.deviceClass = item.deviceClass;
    if (item.power) {
        doc.power = Lldp::MedExtendedPower{item.power->deviceType, item.power->source,
                                           item.power->priority, item.power->value};
    }
    const int32_t device = doc.power ? doc.power->deviceType : 0;
    struct Sent {
        bool present;
        uint8_t bit;
        const char* name;
    };
    const Sent sent[] = {
        {true, Lldp::MedCapabilities::capabilities, "capabilities"},
        {!doc.policies.empty(), Lldp::MedCapabilities::networkPolicy, "networkPolicy"},
        {!doc.locations.empty(), Lldp::MedCapabilities::location, "location"},
        {device == Lldp::MedExtendedPower::pseDevice, Lldp::MedCapabilities::extendedPse,
         "extendedPSE"},
        {device == Lldp::MedExtendedPower::pdDevice, Lldp::MedCapabilities::extendedPd,
         "extendedPD"},
        {doc.inventory.has_value(), Lldp::MedCapabilities::inventory, "inventory"},
    };
    for (const auto& s : sent) {
        if (s.present) {
            doc.capCurrent.value = static_cast<uint8_t>(doc.capCurrent.value | s.bit);
        }
    }
    if (item.capCurrent) {
        for (const auto& s : sent) {
            if (s.present && !item.capCurrent->has(s.bit)) {
                fail(child(path, "capCurrent"), std::string("the neighbour sends ") + s.name +
                                                    ", which capCurrent does not name");
            }
        }
        doc.capCurrent = *item.capCurrent;
    }
    doc.capSupported = item.capSupported.value_or(doc.capCurrent);
    return doc;
}

} // namespace

ValueType<uint32_t> fastStartRepeatCount() {
    return unsignedRange("integer", 1, 10);
}

const Section<LocalSystemMedDoc>& localSystemMedKeys() {
    using D = LocalSystemMedDoc;
    static const auto s = [] {
        Section<D> keys("localSystem.med");
        keys.field("deviceClass", &D::deviceClass, bounded("LldpXMedDeviceClass", medDeviceClasses),
                   "lldpXMedLocDeviceClass")
            .object("inventory", &D::inventory, inventoryKeys("local"),
                    "lldpXMedLocHardwareRev ... lldpXMedLocAssetID", byDefault("all empty"))
            .object("power", &D::power, localPowerMedKeys(), "the lldpXMedLocXPoE scalars",
                    byDefault("all defaults"));
        return keys;
    }();
    return s;
}

void addLocalPortExtensionKeys(Section<LocalPortDoc, Lldp::LocalPort>& keys) {
    using D = LocalPortDoc;
    keys.custom(listInfo("protoVlans", protoVlanKeys(),
                         "lldpXdot1LocProtoVlanTable, lldpXdot1ConfigProtoVlanTable"),
                [](const Json& j, const std::string& path, D& doc) {
                    readList(j, path, protoVlanKeys(), [&](ProtoVlanItem e, auto& p) {
                        Lldp::TxEnabled<Lldp::PortAndProtocolVlan> member{
                            {e.id, e.supported, e.enabled}, e.txEnable};
                        if (!doc.protoVlans.emplace(e.id, member).second) {
                            failDuplicate(child(p, "id"), std::to_string(e.id.value()),
                                          "port-and-protocol VLAN id");
                        }
                    });
                })
        .custom(listInfo("vlanNames", vlanNameKeys(),
                         "lldpXdot1LocVlanNameTable, lldpXdot1ConfigVlanNameTable"),
                [](const Json& j, const std::string& path, D& doc) {
                    readList(j, path, vlanNameKeys(), [&](VlanNameItem e, auto& p) {
                        Lldp::TxEnabled<Lldp::VlanName> member{{e.id, e.name}, e.txEnable};
                        if (!doc.vlanNames.emplace(e.id, member).second) {
                            failDuplicate(child(p, "id"), std::to_string(e.id.value()), "VLAN id");
                        }
                    });
                })
        .custom(
            listInfo("protocols", protocolKeys(),
                     "lldpXdot1LocProtocolTable, lldpXdot1ConfigProtocolTable"),
            [](const Json& j, const std::string& path, D& doc) {
                readList(j, path, protocolKeys(), [&](ProtocolItem e, auto& p) {
                    Lldp::TxEnabled<Lldp::ProtocolIdentityInfo> member{{e.index, e.id}, e.txEnable};
                    if (!doc.protocols.emplace(e.index, member).second) {
                        failDuplicate(child(p, "index"), std::to_string(e.index), "protocol index");
                    }
                });
            })
        .object("macPhy", &D::macPhy, localMacPhyKeys(), "lldpXdot3LocPortTable",
                byDefault("all defaults"))
        .custom({"power", false, "object (`interface.local.power`)", "no power via MDI",
                 "lldpXdot3LocPowerTable", localPowerKeys().schema()},
                optionalObject(&D::power, localPowerKeys()))
        .object("med", &D::med, localPortMedKeys(),
                "LLDP-MED: lldpXMedPortConfigTable and the port's local MED tables",
                byDefault("all defaults"));
}

void addNeighborMedKey(Section<NeighborDoc, Lldp::RemoteSystem>& keys) {
    keys.custom(objectInfo("med", neighborMedKeys(),
                           "LLDP-MED TLVs: lldpXMedRemCapabilitiesTable and the other "
                           "lldpXMedRem tables"),
                [](const Json& j, const std::string& path, NeighborDoc& doc) {
                    doc.med = neighborMed(neighborMedKeys().read(j, path), path);
                });
}

std::vector<const SectionInfo*> extensionSections() {
    return {&protoVlanKeys(),        &vlanNameKeys(),         &protocolKeys(),
            &localMacPhyKeys(),      &localPowerKeys(),       &localPortMedKeys(),
            &policyKeys("local"),    &locationKeys("local"),  &psePortPowerKeys(),
            &localSystemMedKeys(),   &inventoryKeys("local"), &localPowerMedKeys(),
            &neighborMedKeys(),      &policyKeys("remote"),   &inventoryKeys("remote"),
            &locationKeys("remote"), &neighborPowerKeys(),    &coordinateKeys(),
            &civicAddressKeys(),     &civicElementKeys()};
}

} // namespace LldpSnmpd
