#include "state/StateKeys.h"

#include "state/ExtensionKeys.h"
#include "state/ValueTypes.h"

#include <algorithm>
#include <set>
#include <utility>

namespace LldpSnmpd {

namespace {

// --- list elements that become one platform value each ------------------------------------

struct ManAddrItem {
    int32_t subtype = 0;
    Zim::String8 address;
    int32_t ifSubtype = 1; // unknown
    int32_t ifId = 0;
    Zim::String8 oid = sharedText("0.0");
    uint32_t priority = 0;

    Lldp::ManagementAddress value() const {
        return Lldp::ManagementAddress(Lldp::ManagementAddress::Key(subtype, address), ifSubtype,
                                       ifId, oid);
    }
};

struct ProtoVlanItem {
    Bridging::VlanIdOrNone id;
    bool supported = false;
    bool enabled = false;
};

struct VlanNameItem {
    Bridging::VlanId id;
    Zim::String8 name;
};

struct ProtocolItem {
    int32_t index = 0;
    Zim::String8 id;
};

struct UnknownTlvItem {
    uint32_t type = 0;
    Zim::String8 info;
};

struct OrgDefTlvItem {
    Lldp::Oui oui{0};
    uint32_t subtype = 0;
    int32_t index = 0;
    Zim::String8 info;
};

// --- value types found only here ------------------------------------------------------------

ValueType<int32_t> addressFamily() {
    auto type = enumeration("AddressFamilyNumbers", addressFamilies);
    auto names = type.read;
    type.read = [names](const Json& j, const std::string& path) {
        int32_t family = names(j, path);
        if (family < 0) {
            fail(path, std::to_string(family) + " is out of range (0..2147483647)");
        }
        return family;
    };
    return type;
}

// Subtype and address together name a management address once per list.
[[noreturn]] void duplicateAddress(const std::string& path, const Json& raw) {
    failDuplicate(child(path, "address"), describe(raw.at("address")), "management address",
                  "subtype and address together appear once per list");
}

// The text form for ipV4 and ipV6; the agent's own type checks the length.
DependentType<ManAddrItem, Zim::String8> address() {
    return {[](const Json& j, const std::string& path, const ManAddrItem& item) {
                auto bytes = readAddress(j, path, item.subtype);
                checkLength(j, path, bytes.size(), 31);
                checked(path, [&] { return Lldp::ManagementAddress::Key(item.subtype, bytes); });
                return bytes;
            },
            "octet string (text form for `ipV4`, `ipV6`), at most 31 bytes", octetsSchema(),
            showOctets};
}

template <class Vlan> ValueType<Vlan> vlan(std::string text, uint16_t min) {
    return {[min](const Json& j, const std::string& path) {
                return checked(path, [&] {
                    return Vlan(static_cast<uint16_t>(readInteger(j, path, min, 4094)));
                });
            },
            std::move(text),
            {{"type", "integer"}, {"minimum", min}, {"maximum", 4094}},
            {}};
}

ValueType<Ifkit::IntfId> interfaceName() {
    return {[](const Json& j, const std::string& path) {
                if (!j.is_string() || j.get_ref<const std::string&>().empty()) {
                    fail(path, "expected an interface name, found " + describe(j));
                }
                return Ifkit::IntfId(Zim::String8(j.get_ref<const std::string&>()));
            },
            "the interface's name, non-empty, unique",
            {{"type", "string"}, {"minLength", 1}},
            {}};
}

ValueType<Interface::EthPortId> portNumber() {
    return {[](const Json& j, const std::string& path) {
                return Interface::EthPortId(
                    static_cast<uint16_t>(readInteger(j, path, 1, Interface::EthPortId::max)));
            },
            "integer 1..4094, unique",
            {{"type", "integer"}, {"minimum", 1}, {"maximum", Interface::EthPortId::max}},
            {}};
}

Section<ManAddrItem> manAddrKeys(std::string name) {
    Section<ManAddrItem> s(std::move(name));
    s.field("subtype", &ManAddrItem::subtype, addressFamily(), "the address family", required)
        .field("address", &ManAddrItem::address, address(), "the address", required)
        .field("ifSubtype", &ManAddrItem::ifSubtype,
               enumeration("(`unknown`, `ifIndex`, `systemPortNumber`)", manAddrIfSubtypes),
               "how ifId numbers the interface")
        .field("ifId", &ManAddrItem::ifId, integer(), "the interface the address belongs to")
        .field("oid", &ManAddrItem::oid, oid(), "the object identifier of the address's owner");
    return s;
}

const Section<ManAddrItem>& remoteManAddrKeys() {
    static const auto s = manAddrKeys("neighbor.managementAddresses[]");
    return s;
}

const Section<ManAddrItem>& localManAddrKeys() {
    static const auto s = [] {
        auto keys = manAddrKeys("localSystem.managementAddresses[]");
        keys.field("priority", &ManAddrItem::priority, counter("unsigned integer"),
                   "the place in the transmit order, 0 for none");
        return keys;
    }();
    return s;
}

const Section<ProtoVlanItem>& protoVlanKeys() {
    static const auto s = [] {
        Section<ProtoVlanItem> keys("neighbor.dot1.protoVlans[]");
        keys.field("id", &ProtoVlanItem::id, vlan<Bridging::VlanIdOrNone>("integer 0..4094", 0),
                   "the port-and-protocol VLAN id, unique", required)
            .field("supported", &ProtoVlanItem::supported, boolean(), "")
            .field("enabled", &ProtoVlanItem::enabled, boolean(), "");
        return keys;
    }();
    return s;
}

const Section<VlanNameItem>& vlanNameKeys() {
    static const auto s = [] {
        Section<VlanNameItem> keys("neighbor.dot1.vlanNames[]");
        keys.field("id", &VlanNameItem::id, vlan<Bridging::VlanId>("integer 1..4094", 1),
                   "the VLAN id, unique", required)
            .field("name", &VlanNameItem::name, octets(),
                   "the VLAN's name (the MIB shows 1 to 32 bytes)", required);
        return keys;
    }();
    return s;
}

const Section<ProtocolItem>& protocolKeys() {
    static const auto s = [] {
        Section<ProtocolItem> keys("neighbor.dot1.protocols[]");
        keys.field("index", &ProtocolItem::index, index("integer"), "unique", required)
            .field("id", &ProtocolItem::id, octets(), "the protocol identity", required);
        return keys;
    }();
    return s;
}

const Section<UnknownTlvItem>& unknownTlvKeys() {
    static const auto s = [] {
        Section<UnknownTlvItem> keys("neighbor.unknownTlvs[]");
        keys.field("type", &UnknownTlvItem::type, unsignedIn("integer 9..126", 9, 126),
                   "the TLV type, one element per type", required)
            .field("info", &UnknownTlvItem::info, octets("octet string", 511), "", required);
        return keys;
    }();
    return s;
}

const Section<OrgDefTlvItem>& orgDefTlvKeys() {
    static const auto s = [] {
        Section<OrgDefTlvItem> keys("neighbor.orgDefTlvs[]");
        keys.field("oui", &OrgDefTlvItem::oui, oui(), "(oui, subtype, index) is unique", required)
            .field("subtype", &OrgDefTlvItem::subtype, counter("unsigned integer"), "", required)
            .field("index", &OrgDefTlvItem::index, index("integer"), "", required)
            .field("info", &OrgDefTlvItem::info, octets(), "the MIB shows at most 507 bytes",
                   required);
        return keys;
    }();
    return s;
}

const Section<NeighborDoc>& dot1Keys() {
    static const auto s = [] {
        Section<NeighborDoc> keys("neighbor.dot1");
        keys.optional("portVlanId", &NeighborDoc::portVlanId, integer(), "lldpXdot1RemTable",
                      byDefault("not received"))
            .custom(listInfo("protoVlans", protoVlanKeys(), "lldpXdot1RemProtoVlanTable"),
                    [](const Json& j, const std::string& path, NeighborDoc& doc) {
                        readList(j, path, protoVlanKeys(), [&](ProtoVlanItem e, auto& p) {
                            Lldp::PortAndProtocolVlan v(e.id, e.supported, e.enabled);
                            if (!doc.protoVlans.emplace(e.id, v).second) {
                                failDuplicate(child(p, "id"), std::to_string(e.id.value()),
                                              "port-and-protocol VLAN id");
                            }
                        });
                    })
            .custom(listInfo("vlanNames", vlanNameKeys(), "lldpXdot1RemVlanNameTable"),
                    [](const Json& j, const std::string& path, NeighborDoc& doc) {
                        readList(j, path, vlanNameKeys(), [&](VlanNameItem e, auto& p) {
                            if (!doc.vlanNames.emplace(e.id, Lldp::VlanName(e.id, e.name)).second) {
                                failDuplicate(child(p, "id"), std::to_string(e.id.value()),
                                              "VLAN id");
                            }
                        });
                    })
            .custom(listInfo("protocols", protocolKeys(), "lldpXdot1RemProtocolTable"),
                    [](const Json& j, const std::string& path, NeighborDoc& doc) {
                        readList(j, path, protocolKeys(), [&](ProtocolItem e, auto& p) {
                            Lldp::ProtocolIdentityInfo info(e.index, e.id);
                            if (!doc.protocols.emplace(e.index, info).second) {
                                failDuplicate(child(p, "index"), std::to_string(e.index),
                                              "protocol index");
                            }
                        });
                    });
        return keys;
    }();
    return s;
}

} // namespace

Section<Lldp::MacPhyConfigStatusInfo> macPhySection(std::string name) {
    using Info = Lldp::MacPhyConfigStatusInfo;
    Section<Info> keys(std::move(name));
    keys.field("autoNegSupported", &Info::autoNegSupported, boolean(), "")
        .field("autoNegEnabled", &Info::autoNegEnabled, boolean(), "")
        .field("autoNegAdvertisedCap", &Info::autoNegAdvertisedCapAsU16, number16(),
               "as the TLV carries it (bit 0 of the BITS value is 0x8000)")
        .field("operMauType", &Info::operMauType, integer(), "");
    return keys;
}

Section<Lldp::PowerViaMdiInfo> powerSection(std::string name) {
    using Info = Lldp::PowerViaMdiInfo;
    Section<Info> keys(std::move(name));
    keys.field("portClass", &Info::powerPortClass,
               enumeration("LldpPowerPortClass", powerPortClasses), "")
        .field("mdiSupported", &Info::powerMdiSupported, boolean(), "")
        .field("mdiEnabled", &Info::powerMdiEnabled, boolean(), "")
        .field("pairControllable", &Info::powerPairControllable, boolean(), "")
        .field("pairs", &Info::powerPairs, enumeration("power pairs", powerPairs), "")
        .field("class", &Info::powerClass, enumeration("power class", powerClasses), "");
    return keys;
}

namespace {

const Section<Lldp::MacPhyConfigStatusInfo>& macPhyKeys() {
    static const auto s = macPhySection("neighbor.dot3.macPhy");
    return s;
}

const Section<Lldp::PowerViaMdiInfo>& powerKeys() {
    static const auto s = powerSection("neighbor.dot3.power");
    return s;
}

auto linkAggStatus() {
    return bitSet<Lldp::LinkAggStatusMap>("LldpLinkAggStatusMap", linkAggStatuses, 8);
}

const Section<LinkAggDoc>& linkAggKeys() {
    static const auto s = [] {
        Section<LinkAggDoc> keys("neighbor.dot3.linkAgg");
        keys.field("status", &LinkAggDoc::status, linkAggStatus(), "")
            .field("portId", &LinkAggDoc::portId, integer(), "");
        return keys;
    }();
    return s;
}

const Section<NeighborDoc>& dot3Keys() {
    static const auto s = [] {
        Section<NeighborDoc> keys("neighbor.dot3");
        keys.custom(objectInfo("macPhy", macPhyKeys(), "lldpXdot3RemPortTable"),
                    optionalObject(&NeighborDoc::macPhy, macPhyKeys()))
            .custom(objectInfo("power", powerKeys(), "lldpXdot3RemPowerTable"),
                    optionalObject(&NeighborDoc::power, powerKeys()))
            .custom(objectInfo("linkAgg", linkAggKeys(), "lldpXdot3RemLinkAggTable"),
                    optionalObject(&NeighborDoc::linkAgg, linkAggKeys()))
            .optional("maxFrameSize", &NeighborDoc::maxFrameSize, integer(),
                      "lldpXdot3RemMaxFrameSizeTable", byDefault("not received"));
        return keys;
    }();
    return s;
}

auto sysCap() {
    return bitSet<Lldp::SystemCapabilitiesMap>("LldpSystemCapabilitiesMap", systemCapabilities, 16);
}

} // namespace

const Section<ConfigDoc, Lldp::Config>& configKeys() {
    using C = Lldp::Config;
    static const auto s = [] {
        Section<ConfigDoc, C> keys("config");
        keys.field("messageTxInterval", &ConfigDoc::messageTxInterval, integer("integer (seconds)"),
                   &C::messageTxIntervalIs, "lldpMessageTxInterval")
            .field("messageTxHoldMultiplier", &ConfigDoc::messageTxHoldMultiplier, integer(),
                   &C::messageTxHoldMultiplierIs, "lldpMessageTxHoldMultiplier")
            .field("reinitDelay", &ConfigDoc::reinitDelay, integer("integer (seconds)"),
                   &C::reinitDelayIs, "lldpReinitDelay")
            .field("txDelay", &ConfigDoc::txDelay, integer("integer (seconds)"), &C::txDelayIs,
                   "lldpTxDelay")
            .field("medFastStartRepeatCount", &ConfigDoc::medFastStartRepeatCount,
                   fastStartRepeatCount(), &C::medFastStartRepeatCountIs,
                   "lldpXMedFastStartRepeatCount");
        return keys;
    }();
    return s;
}

const Section<StatusDoc>& statusKeys() {
    static const auto s = [] {
        Section<StatusDoc> keys("status");
        keys.optional("remTablesLastChangeTime", &StatusDoc::remTablesLastChangeTime, time(),
                      "lldpStatsRemTablesLastChangeTime",
                      byDefault("the time a neighbour was last added, removed or changed"))
            .optional("remTablesInserts", &StatusDoc::remTablesInserts, counter(),
                      "lldpStatsRemTablesInserts",
                      byDefault("counts up by one for each neighbour added"))
            .optional("remTablesDeletes", &StatusDoc::remTablesDeletes, counter(),
                      "lldpStatsRemTablesDeletes",
                      byDefault("counts up by one for each neighbour removed (also when its "
                                "interface goes)"))
            .optional("remTablesDrops", &StatusDoc::remTablesDrops, counter(),
                      "lldpStatsRemTablesDrops", byDefault("keeps its value (0 at start)"))
            .optional("remTablesAgeouts", &StatusDoc::remTablesAgeouts, counter(),
                      "lldpStatsRemTablesAgeouts", byDefault("keeps its value (0 at start)"));
        return keys;
    }();
    return s;
}

const Section<LocalSystemDoc, Lldp::LocalSystem>& localSystemKeys() {
    using L = Lldp::LocalSystem;
    using D = LocalSystemDoc;
    static const auto s = [] {
        Section<D, L> keys("localSystem");
        keys.field("chassisIdSubtype", &D::chassisIdSubtype,
                   enumeration("LldpChassisIdSubtype", chassisIdSubtypes), &L::chassisIdSubtypeIs,
                   "lldpLocChassisIdSubtype", required)
            .field("chassisId", &D::chassisId, identifier(&D::chassisIdSubtype, chassisIdMac),
                   &L::chassisIdIs, "lldpLocChassisId", required)
            .field("sysName", &D::sysName, octets(), &L::sysNameIs, "lldpLocSysName")
            .field("sysDesc", &D::sysDesc, octets(), &L::sysDescIs, "lldpLocSysDesc")
            .field("sysCapSupported", &D::sysCapSupported, sysCap(), &L::sysCapSupportedIs,
                   "lldpLocSysCapSupported")
            .field("sysCapEnabled", &D::sysCapEnabled, sysCap(), &L::sysCapEnabledIs,
                   "lldpLocSysCapEnabled")
            .custom(
                listInfo("managementAddresses", localManAddrKeys(), "lldpLocManAddrTable"),
                [](const Json& j, const std::string& path, D& doc) {
                    std::set<uint32_t> priorities;
                    readList(
                        j, path, localManAddrKeys(),
                        [&](ManAddrItem e, const std::string& p, const Json& raw) {
                            if (e.priority != 0) {
                                unique(priorities, e.priority, child(p, "priority"), "priority",
                                       "each management address needs its own");
                            }
                            LocalManAddrDoc addr{e.value(), Lldp::ManAddrPriority(e.priority)};
                            if (!doc.managementAddresses.emplace(addr.address.key(), addr).second) {
                                duplicateAddress(p, raw);
                            }
                        });
                })
            .object("med", &D::med, localSystemMedKeys(), "LLDP-MED of the local system",
                    byDefault("all defaults"));
        return keys;
    }();
    return s;
}

const Section<PortConfigDoc, Lldp::PortConfig>& portConfigKeys() {
    using P = Lldp::PortConfig;
    using D = PortConfigDoc;
    static const auto s = [] {
        Section<D, P> keys("interface.config");
        keys.field("adminStatus", &D::adminStatus,
                   enumeration("lldpPortConfigAdminStatus", adminStatuses), &P::adminStatusIs,
                   "lldpPortConfigAdminStatus")
            .field("notificationEnable", &D::notificationEnable, boolean(),
                   &P::notificationEnableIs, "lldpPortConfigNotificationEnable")
            .field("tlvsTxEnable", &D::tlvsTxEnable,
                   bitSet<P::EnabledTlvs>("lldpPortConfigTLVsTxEnable", tlvsTxEnable, 4),
                   &P::enabledTlvsIs, "lldpPortConfigTLVsTxEnable")
            .field(
                "dot3TlvsTxEnable", &D::dot3TlvsTxEnable,
                bitSet<P::Dot3EnabledTlvs>("lldpXdot3PortConfigTLVsTxEnable", dot3TlvsTxEnable, 4),
                &P::dot3EnabledTlvsIs, "lldpXdot3PortConfigTLVsTxEnable")
            .field("portVlanTxEnable", &D::portVlanTxEnable, boolean(), &P::portVlanTxEnableIs,
                   "lldpXdot1ConfigPortVlanTxEnable")
            .field("manAddrTxEnable", &D::manAddrTxEnable, boolean(), &P::manAddrTxEnableIs,
                   "the local management addresses are sent on this port");
        return keys;
    }();
    return s;
}

const Section<LocalPortDoc, Lldp::LocalPort>& localPortKeys() {
    using L = Lldp::LocalPort;
    using D = LocalPortDoc;
    static const auto s = [] {
        Section<D, L> keys("interface.local");
        keys.field("portIdSubtype", &D::portIdSubtype,
                   enumeration("LldpPortIdSubtype", portIdSubtypes), &L::portIdSubtypeIs,
                   "lldpLocPortIdSubtype")
            .field("portId", &D::portId, identifier(&D::portIdSubtype, portIdMac), &L::portIdIs,
                   "lldpLocPortId", byDefault("the interface's `name`"))
            .field("portDesc", &D::portDesc, octets(), &L::portDescIs, "lldpLocPortDesc")
            .field("portVlanId", &D::portVlanId, integer("integer (0: none)"), &L::portVlanIdIs,
                   "lldpXdot1LocPortVlanId")
            .field("linkAggStatus", &D::linkAggStatus, linkAggStatus(), &L::linkAggStatusIs,
                   "lldpXdot3LocLinkAggStatus")
            .field("linkAggPortId", &D::linkAggPortId, integer(), &L::linkAggPortIdIs,
                   "lldpXdot3LocLinkAggPortId")
            .field("maxFrameSize", &D::maxFrameSize, integer(), &L::maxFrameSizeIs,
                   "lldpXdot3LocMaxFrameSize");
        addLocalPortExtensionKeys(keys);
        return keys;
    }();
    return s;
}

const Section<StatisticsDoc, Lldp::PortStatus>& statisticsKeys() {
    using P = Lldp::PortStatus;
    using D = StatisticsDoc;
    static const auto s = [] {
        Section<D, P> keys("interface.statistics");
        keys.field("txFramesTotal", &D::txFramesTotal, counter(), &P::txFramesTotalIs,
                   "lldpStatsTxPortFramesTotal")
            .field("rxFramesDiscardedTotal", &D::rxFramesDiscardedTotal, counter(),
                   &P::rxFramesDiscardedTotalIs, "lldpStatsRxPortFramesDiscardedTotal")
            .field("rxFramesErrors", &D::rxFramesErrors, counter(), &P::rxFramesErrorsIs,
                   "lldpStatsRxPortFramesErrors")
            .field("rxFramesTotal", &D::rxFramesTotal, counter(), &P::rxFramesTotalIs,
                   "lldpStatsRxPortFramesTotal")
            .field("rxTLVsDiscardedTotal", &D::rxTLVsDiscardedTotal, counter(),
                   &P::rxTLVsDiscardedTotalIs, "lldpStatsRxPortTLVsDiscardedTotal")
            .field("rxTLVsUnrecognizedTotal", &D::rxTLVsUnrecognizedTotal, counter(),
                   &P::rxTLVsUnrecognizedTotalIs, "lldpStatsRxPortTLVsUnrecognizedTotal")
            .field("rxAgeoutsTotal", &D::rxAgeoutsTotal, counter(), &P::rxAgeoutsTotalIs,
                   "lldpStatsRxPortAgeoutsTotal");
        return keys;
    }();
    return s;
}

const Section<NeighborDoc, Lldp::RemoteSystem>& neighborKeys() {
    using R = Lldp::RemoteSystem;
    using D = NeighborDoc;
    static const auto s = [] {
        Section<D, R> keys("neighbor");
        keys.field("index", &D::index, index("integer"), "lldpRemIndex, unique on its interface",
                   required)
            .optional("lastChangeTime", &D::lastChangeTime, time(), "lldpRemTimeMark",
                      byDefault("when `lldp-snmpd` saw the neighbour added or changed"))
            .field("chassisIdSubtype", &D::chassisIdSubtype,
                   enumeration("LldpChassisIdSubtype", chassisIdSubtypes), &R::chassisIdSubtypeIs,
                   "lldpRemChassisIdSubtype", required)
            .field("chassisId", &D::chassisId, identifier(&D::chassisIdSubtype, chassisIdMac),
                   &R::chassisIdIs, "lldpRemChassisId", required)
            .field("portIdSubtype", &D::portIdSubtype,
                   enumeration("LldpPortIdSubtype", portIdSubtypes), &R::portIdSubtypeIs,
                   "lldpRemPortIdSubtype", required)
            .field("portId", &D::portId, identifier(&D::portIdSubtype, portIdMac), &R::portIdIs,
                   "lldpRemPortId", required)
            .field("portDesc", &D::portDesc, octets(), &R::portDescIs, "lldpRemPortDesc")
            .field("sysName", &D::sysName, octets(), &R::sysNameIs, "lldpRemSysName")
            .field("sysDesc", &D::sysDesc, octets(), &R::sysDescIs, "lldpRemSysDesc")
            .field("sysCapSupported", &D::sysCapSupported, sysCap(), &R::sysCapSupportedIs,
                   "lldpRemSysCapSupported")
            .field("sysCapEnabled", &D::sysCapEnabled, sysCap(), &R::sysCapEnabledIs,
                   "lldpRemSysCapEnabled")
            .custom(listInfo("managementAddresses", remoteManAddrKeys(), "lldpRemManAddrTable"),
                    [](const Json& j, const std::string& path, D& doc) {
                        readList(
                            j, path, remoteManAddrKeys(),
                            [&](ManAddrItem e, const std::string& p, const Json& raw) {
                                auto addr = e.value();
                                if (!doc.managementAddresses.emplace(addr.key(), addr).second) {
                                    duplicateAddress(p, raw);
                                }
                            });
                    })
            .custom(listInfo("unknownTlvs", unknownTlvKeys(), "lldpRemUnknownTLVTable"),
                    [](const Json& j, const std::string& path, D& doc) {
                        readList(j, path, unknownTlvKeys(), [&](UnknownTlvItem e, auto& p) {
                            auto tlv = checked(p, [&] { return Lldp::UnknownTlv(e.type, e.info); });
                            if (!doc.unknownTlvs.emplace(e.type, tlv).second) {
                                failDuplicate(child(p, "type"), std::to_string(e.type), "TLV type");
                            }
                        });
                    })
            .custom(listInfo("orgDefTlvs", orgDefTlvKeys(), "lldpRemOrgDefInfoTable"),
                    [](const Json& j, const std::string& path, D& doc) {
                        readList(j, path, orgDefTlvKeys(), [&](OrgDefTlvItem e, auto& p) {
                            Lldp::UnknownOrgDefTlv::Key key(e.oui, e.subtype, e.index);
                            if (!doc.orgDefTlvs.emplace(key, Lldp::UnknownOrgDefTlv(key, e.info))
                                     .second) {
                                failDuplicate(child(p, "index"), std::to_string(e.index),
                                              "index for this oui and subtype",
                                              "oui, subtype and index together appear once");
                            }
                        });
                    })
            .custom(objectInfo("dot1", dot1Keys(), "IEEE 802.1 TLVs"),
                    [](const Json& j, const std::string& path, D& doc) {
                        dot1Keys().read(j, path, doc);
                    })
            .custom(objectInfo("dot3", dot3Keys(), "IEEE 802.3 TLVs"),
                    [](const Json& j, const std::string& path, D& doc) {
                        dot3Keys().read(j, path, doc);
                    });
        addNeighborMedKey(keys);
        return keys;
    }();
    return s;
}

namespace {

thread_local StreamedNeighbors* streamedNeighbors = nullptr;

std::vector<StreamedNeighbor>* streamedList(const std::string& path) {
    if (!streamedNeighbors) {
        return nullptr;
    }
    auto it = streamedNeighbors->find(path);
    return it == streamedNeighbors->end() ? nullptr : &it->second;
}

} // namespace

StreamedNeighborsScope::StreamedNeighborsScope(StreamedNeighbors& streamed)
    : previous_(std::exchange(streamedNeighbors, &streamed)) {}

StreamedNeighborsScope::~StreamedNeighborsScope() {
    streamedNeighbors = previous_;
}

const Section<InterfaceDoc>& interfaceKeys() {
    using D = InterfaceDoc;
    static const auto s = [] {
        Section<D> keys("interface");
        keys.custom({"name", true, "the interface's name, non-empty, unique", "",
                     "identifies the interface", interfaceName().schema},
                    [](const Json& j, const std::string& path, D& doc) {
                        doc.name = interfaceName().read(j, path);
                        doc.local.portId = doc.name.name();
                    })
            .field("portNum", &D::portNum, portNumber(),
                   "the SNMP port number (lldpPortConfigPortNum and every other per-port index)",
                   required)
            .object("config", &D::config, portConfigKeys(), "lldpPortConfigTable and extensions",
                    byDefault("all defaults"))
            .object("local", &D::local, localPortKeys(), "lldpLocPortTable and extensions",
                    byDefault("all defaults"))
            .object("statistics", &D::statistics, statisticsKeys(),
                    "lldpStatsTxPortTable, lldpStatsRxPortTable", byDefault("all 0"))
            .custom(listInfo("neighbors", neighborKeys(), "lldpRemTable and its extensions"),
                    [](const Json& j, const std::string& path, D& doc) {
                        std::set<int32_t> unchanged;
                        auto duplicate = [](int32_t index, const std::string& p) {
                            failDuplicate(child(p, "index"), std::to_string(index),
                                          "neighbour index", "each appears once per interface");
                        };
                        auto insert = [&](NeighborDoc n, const std::string& p) {
                            auto index = n.index;
                            if (unchanged.contains(index) ||
                                !doc.neighbors.emplace(index, std::move(n)).second) {
                                duplicate(index, p);
                            }
                        };
                        if (auto* streamed = streamedList(path)) {
                            for (auto& n : *streamed) {
                                if (n.refusal) {
                                    throw *n.refusal;
                                }
                                if (n.doc) {
                                    insert(std::move(*n.doc), element(path, n.element));
                                    n.doc.reset();
                                } else if (doc.neighbors.contains(n.index) ||
                                           !unchanged.insert(n.index).second) {
                                    duplicate(n.index, element(path, n.element));
                                }
                            }
                            doc.unchanged.assign(unchanged.begin(), unchanged.end());
                            return;
                        }
                        readList(j, path, neighborKeys(), insert);
                    });
        return keys;
    }();
    return s;
}

const Section<StateDoc>& stateKeys() {
    static const auto s = [] {
        Section<StateDoc> keys("$");
        keys.object("config", &StateDoc::config, configKeys(), "the agent's timing",
                    byDefault("all defaults"))
            .object("status", &StateDoc::status, statusKeys(), "the remote-table counters",
                    byDefault("kept by `lldp-snmpd`"))
            .object("localSystem", &StateDoc::localSystem, localSystemKeys(), "the local system",
                    required)
            .custom(listInfo("interfaces", interfaceKeys(), "one per LLDP interface"),
                    [](const Json& j, const std::string& path, StateDoc& doc) {
                        std::set<uint16_t> ports;
                        readList(j, path, interfaceKeys(), [&](InterfaceDoc intf, auto& p) {
                            unique(ports, intf.portNum.value(), child(p, "portNum"), "portNum",
                                   "each interface needs its own");
                            auto name = intf.name;
                            if (!doc.interfaces.emplace(name, std::move(intf)).second) {
                                failDuplicate(child(p, "name"), quotedText(name.name().str()),
                                              "interface name");
                            }
                        });
                    });
        return keys;
    }();
    return s;
}

std::vector<const SectionInfo*> allSections() {
    std::vector<const SectionInfo*> sections = {
        &stateKeys(),        &configKeys(),    &statusKeys(),        &localSystemKeys(),
        &localManAddrKeys(), &interfaceKeys(), &portConfigKeys(),    &localPortKeys(),
        &statisticsKeys(),   &neighborKeys(),  &remoteManAddrKeys(), &unknownTlvKeys(),
        &orgDefTlvKeys(),    &dot1Keys(),      &protoVlanKeys(),     &vlanNameKeys(),
        &protocolKeys(),     &dot3Keys(),      &macPhyKeys(),        &powerKeys(),
        &linkAggKeys()};
    for (const auto* extension : extensionSections()) {
        sections.push_back(extension);
    }
    return sections;
}

} // namespace LldpSnmpd
