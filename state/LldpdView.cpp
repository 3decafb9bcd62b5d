#include "state/LldpdView.h"

#include "state/LldpdMed.h"

#include <lldp-const.h>

#include <arpa/inet.h>

#include <algorithm>
#include <map>

namespace LldpSnmpd {

namespace {

constexpr int32_t familyIpV4 = 1;
constexpr int32_t familyIpV6 = 2;
constexpr int32_t manAddrIfUnknown = 1;
constexpr int32_t manAddrIfIndex = 2;
constexpr long protocolLldp = 1;
// lldpctl_k_port_status: 1 TX only, 2 RX only, 3 disabled, 4 RX and TX.
constexpr long lldpdDisabled = 3;
constexpr long lldpdRxAndTx = 4;
// lldpPortConfigAdminStatus.
constexpr int32_t adminTxOnly = 1;
constexpr int32_t adminRxOnly = 2;
constexpr int32_t adminTxAndRx = 3;
constexpr int32_t adminDisabled = 4;
// LldpLinkAggStatusMap: aggCapable (bit 0) and aggEnabled (bit 1).
constexpr uint8_t linkAggCapableEnabled = 0x3;
// lldpPortConfigTLVsTxEnable bits.
constexpr uint32_t txPortDesc = 1u << 0;
constexpr uint32_t txSysName = 1u << 1;
constexpr uint32_t txSysDesc = 1u << 2;
constexpr uint32_t txSysCap = 1u << 3;
// lldpXdot3PortConfigTLVsTxEnable bits.
constexpr uint32_t txMacPhy = 1u << 0;
constexpr uint32_t txPower = 1u << 1;
constexpr uint32_t txLinkAgg = 1u << 2;
constexpr uint32_t txMaxFrameSize = 1u << 3;

int32_t toInt32(long value) {
    return static_cast<int32_t>(std::clamp<long>(value, INT32_MIN, INT32_MAX));
}

int32_t adminStatusOf(long lldpdStatus, bool receiveOnly) {
    int32_t status = adminTxAndRx;
    if (lldpdStatus == lldpdDisabled) {
        status = adminDisabled;
    } else if (lldpdStatus == lldpdRxAndTx || lldpdStatus <= 0) {
        status = adminTxAndRx;
    } else {
        status = static_cast<int32_t>(lldpdStatus); // TX only and RX only share their numbers
    }
    if (receiveOnly && status == adminTxAndRx) {
        return adminRxOnly;
    }
    if (receiveOnly && status == adminTxOnly) {
        return adminDisabled;
    }
    return status;
}

// lldpd keeps addresses as text; only IPv4 and IPv6 exist there.
std::optional<Lldp::ManagementAddress> managementAddress(lldpctl_atom_t* mgmt) {
    const std::string text = atomString(mgmt, lldpctl_k_mgmt_ip);
    unsigned char bytes[16];
    int32_t family = 0;
    size_t size = 0;
    if (inet_pton(AF_INET, text.c_str(), bytes) == 1) {
        family = familyIpV4;
        size = 4;
    } else if (inet_pton(AF_INET6, text.c_str(), bytes) == 1) {
        family = familyIpV6;
        size = 16;
    } else {
        return std::nullopt;
    }
    const long ifIndex = atomInt(mgmt, lldpctl_k_mgmt_iface_index);
    return Lldp::ManagementAddress(Lldp::ManagementAddress::Key(family, Zim::String8(bytes, size)),
                                   ifIndex > 0 ? manAddrIfIndex : manAddrIfUnknown,
                                   toInt32(std::max(ifIndex, 0L)), Zim::String8("0.0"));
}

std::vector<Lldp::ManagementAddress> managementAddresses(lldpctl_atom_t* chassis) {
    std::vector<Lldp::ManagementAddress> out;
    Atom list(lldpctl_atom_get(chassis, lldpctl_k_chassis_mgmt));
    forEachAtom(list.get(), [&](lldpctl_atom_t* mgmt) {
        if (auto address = managementAddress(mgmt)) {
            out.push_back(*address);
        }
    });
    return out;
}

void readChassis(lldpctl_atom_t* chassis, int32_t& subtype, Zim::String8& id, Zim::String8& name,
                 Zim::String8& desc, Lldp::SystemCapabilitiesMap& supported,
                 Lldp::SystemCapabilitiesMap& enabled) {
    subtype = toInt32(atomInt(chassis, lldpctl_k_chassis_id_subtype));
    id = atomBuffer(chassis, lldpctl_k_chassis_id);
    name = atomString(chassis, lldpctl_k_chassis_name);
    desc = atomString(chassis, lldpctl_k_chassis_descr);
    // LLDP_CAP_* is the TLV's bit order, which is the SNMP bit set's member order.
    supported.value = static_cast<uint32_t>(atomInt(chassis, lldpctl_k_chassis_cap_available));
    enabled.value = static_cast<uint32_t>(atomInt(chassis, lldpctl_k_chassis_cap_enabled));
}

void readDot1(lldpctl_atom_t* port, NeighborDoc& doc) {
    // lldpd keeps 0 when no port VLAN ID TLV came.
    if (const long pvid = atomInt(port, lldpctl_k_port_vlan_pvid); pvid > 0 && pvid <= 4094) {
        doc.portVlanId = toInt32(pvid);
    }
    Atom ppvids(lldpctl_atom_get(port, lldpctl_k_port_ppvids));
    forEachAtom(ppvids.get(), [&](lldpctl_atom_t* ppvid) {
        const long id = atomInt(ppvid, lldpctl_k_ppvid_id);
        const long status = atomInt(ppvid, lldpctl_k_ppvid_status);
        if (id < 0 || id > 4094) {
            return;
        }
        Bridging::VlanIdOrNone vid(static_cast<uint16_t>(id));
        doc.protoVlans[vid] = Lldp::PortAndProtocolVlan(vid, status & LLDP_PPVID_CAP_SUPPORTED,
                                                        status & LLDP_PPVID_CAP_ENABLED);
    });
    Atom vlans(lldpctl_atom_get(port, lldpctl_k_port_vlans));
    forEachAtom(vlans.get(), [&](lldpctl_atom_t* vlan) {
        const long id = atomInt(vlan, lldpctl_k_vlan_id);
        if (id < 1 || id > 4094) {
            return;
        }
        Bridging::VlanId vid(static_cast<uint16_t>(id));
        doc.vlanNames[vid] = Lldp::VlanName(vid, atomString(vlan, lldpctl_k_vlan_name));
    });
    // lldpd keeps protocol identities in the order received: that order numbers them.
    Atom pis(lldpctl_atom_get(port, lldpctl_k_port_pis));
    int32_t index = 0;
    forEachAtom(pis.get(), [&](lldpctl_atom_t* pi) {
        ++index;
        doc.protocols[index] = Lldp::ProtocolIdentityInfo(index, atomBuffer(pi, lldpctl_k_pi_id));
    });
}

// The MAC/PHY configuration of a port atom, lldpd's own or a neighbour's. lldpd has no
// "received" flag: all zero is taken as none.
std::optional<Lldp::MacPhyConfigStatusInfo> macPhyOf(lldpctl_atom_t* port) {
    Lldp::MacPhyConfigStatusInfo macPhy;
    macPhy.autoNegSupported = atomInt(port, lldpctl_k_port_dot3_autoneg_support) > 0;
    macPhy.autoNegEnabled = atomInt(port, lldpctl_k_port_dot3_autoneg_enabled) > 0;
    macPhy.autoNegAdvertisedCapAsU16 =
        static_cast<uint16_t>(atomInt(port, lldpctl_k_port_dot3_autoneg_advertised));
    macPhy.operMauType = toInt32(atomInt(port, lldpctl_k_port_dot3_mautype));
    if (macPhy == Lldp::MacPhyConfigStatusInfo{}) {
        return std::nullopt;
    }
    return macPhy;
}

// Power via MDI of a port atom; none when lldpd has no device type for it.
std::optional<Lldp::PowerViaMdiInfo> powerOf(lldpctl_atom_t* port) {
    Atom power(lldpctl_atom_get(port, lldpctl_k_port_dot3_power));
    const long deviceType = atomInt(power.get(), lldpctl_k_dot3_power_devicetype);
    if (deviceType <= 0) {
        return std::nullopt;
    }
    Lldp::PowerViaMdiInfo info;
    info.powerPortClass = toInt32(deviceType);
    info.powerMdiSupported = atomInt(power.get(), lldpctl_k_dot3_power_supported) > 0;
    info.powerMdiEnabled = atomInt(power.get(), lldpctl_k_dot3_power_enabled) > 0;
    info.powerPairControllable = atomInt(power.get(), lldpctl_k_dot3_power_paircontrol) > 0;
    info.powerPairs = toInt32(atomInt(power.get(), lldpctl_k_dot3_power_pairs));
    info.powerClass = toInt32(atomInt(power.get(), lldpctl_k_dot3_power_class));
    return info;
}

void readDot3(lldpctl_atom_t* port, NeighborDoc& doc) {
    doc.macPhy = macPhyOf(port);
    if (const long mfs = atomInt(port, lldpctl_k_port_dot3_mfs); mfs > 0) {
        doc.maxFrameSize = toInt32(mfs);
    }
    // lldpd keeps the aggregation port ID only for an aggregated link, and 0 otherwise.
    if (const long aggregId = atomInt(port, lldpctl_k_port_dot3_aggregid); aggregId > 0) {
        doc.linkAgg = LinkAggDoc{Lldp::LinkAggStatusMap{linkAggCapableEnabled}, toInt32(aggregId)};
    }
    doc.power = powerOf(port);
}

// Organisationally specific TLVs that lldpd did not decode itself; repeats of one OUI and
// subtype are numbered in the order received.
void readOrgDefTlvs(lldpctl_atom_t* port, NeighborDoc& doc) {
    Atom tlvs(lldpctl_atom_get(port, lldpctl_k_custom_tlvs));
    std::map<std::pair<uint32_t, uint32_t>, int32_t> seen;
    forEachAtom(tlvs.get(), [&](lldpctl_atom_t* tlv) {
        const std::string oui = atomBuffer(tlv, lldpctl_k_custom_tlv_oui);
        if (oui.size() != 3) {
            return;
        }
        const uint32_t ouiValue = (static_cast<uint8_t>(oui[0]) << 16) |
                                  (static_cast<uint8_t>(oui[1]) << 8) |
                                  static_cast<uint8_t>(oui[2]);
        const auto subtype = static_cast<uint32_t>(atomInt(tlv, lldpctl_k_custom_tlv_oui_subtype));
        const int32_t index = ++seen[{ouiValue, subtype}];
        Lldp::UnknownOrgDefTlv::Key key(Lldp::Oui(ouiValue), subtype, index);
        doc.orgDefTlvs[key] =
            Lldp::UnknownOrgDefTlv(key, atomBuffer(tlv, lldpctl_k_custom_tlv_oui_info_string));
    });
}

NeighborDoc readNeighbor(lldpctl_atom_t* port) {
    NeighborDoc doc;
    Atom chassis(lldpctl_atom_get(port, lldpctl_k_port_chassis));
    readChassis(chassis.get(), doc.chassisIdSubtype, doc.chassisId, doc.sysName, doc.sysDesc,
                doc.sysCapSupported, doc.sysCapEnabled);
    for (const auto& address : managementAddresses(chassis.get())) {
        doc.managementAddresses[address.key()] = address;
    }
    doc.portIdSubtype = toInt32(atomInt(port, lldpctl_k_port_id_subtype));
    doc.portId = atomBuffer(port, lldpctl_k_port_id);
    doc.portDesc = atomString(port, lldpctl_k_port_descr);
    readDot1(port, doc);
    readDot3(port, doc);
    readOrgDefTlvs(port, doc);
    doc.med = readNeighborMed(chassis.get(), port);
    return doc;
}

} // namespace

NeighborIdentity identityOf(const NeighborDoc& n) {
    return {n.chassisIdSubtype, n.chassisId, n.portIdSubtype, n.portId};
}

LldpdGlobal readGlobal(const LldpdConnection& connection) {
    LldpdGlobal global;
    Atom config = connection.checked(lldpctl_get_configuration(connection.get()),
                                     "reading lldpd's configuration");
    // lldpd counts in milliseconds; the MIB in whole seconds (at least 1).
    const long intervalMs = atomInt(config.get(), lldpctl_k_config_tx_interval_ms, -1);
    const long interval = intervalMs > 0 ? (intervalMs + 999) / 1000
                                         : atomInt(config.get(), lldpctl_k_config_tx_interval, 30);
    global.config.messageTxInterval = toInt32(std::max(interval, 1L));
    global.config.messageTxHoldMultiplier =
        toInt32(atomInt(config.get(), lldpctl_k_config_tx_hold, 4));
    global.capabilitiesAdvertised =
        atomInt(config.get(), lldpctl_k_config_chassis_cap_advertise, 1) != 0;
    global.managementAdvertised =
        atomInt(config.get(), lldpctl_k_config_chassis_mgmt_advertise, 1) != 0;
    global.receiveOnly = atomInt(config.get(), lldpctl_k_config_receiveonly) != 0;

    Atom chassis = connection.checked(lldpctl_get_local_chassis(connection.get()),
                                      "reading lldpd's local chassis");
    auto& local = global.localSystem;
    readChassis(chassis.get(), local.chassisIdSubtype, local.chassisId, local.sysName,
                local.sysDesc, local.sysCapSupported, local.sysCapEnabled);
    // lldpd's own LLDP-MED device class (0 until it sends LLDP-MED) and inventory.
    if (const long deviceClass = atomInt(chassis.get(), lldpctl_k_chassis_med_type);
        deviceClass >= LLDP_MED_CLASS_I && deviceClass <= LLDP_MED_NETWORK_DEVICE) {
        local.med.deviceClass = toInt32(deviceClass);
    }
    local.med.inventory = readMedInventory(chassis.get()).value_or(Lldp::MedInventory{});
    // lldpd sends its addresses in its own order, all on every port, or none.
    uint32_t priority = 0;
    for (const auto& address : managementAddresses(chassis.get())) {
        if (local.managementAddresses.contains(address.key())) {
            continue;
        }
        local.managementAddresses[address.key()] = LocalManAddrDoc{
            address, Lldp::ManAddrPriority(global.managementAdvertised ? ++priority : 0)};
    }
    return global;
}

std::vector<std::pair<std::string, Atom>> readInterfaces(const LldpdConnection& connection) {
    Atom list =
        connection.checked(lldpctl_get_interfaces(connection.get()), "reading lldpd's interfaces");
    std::vector<std::pair<std::string, Atom>> out;
    forEachAtom(list.get(), [&](lldpctl_atom_t* interface) {
        lldpctl_atom_inc_ref(interface);
        out.emplace_back(atomString(interface, lldpctl_k_interface_name), Atom(interface));
    });
    return out;
}

LldpdPort readPort(const LldpdConnection& connection, lldpctl_atom_t* interface,
                   const LldpdGlobal& global) {
    LldpdPort out;
    out.name = atomString(interface, lldpctl_k_interface_name);
    Atom port = connection.checked(lldpctl_get_port(interface), "reading port " + out.name);
    out.ifIndex = atomInt(port.get(), lldpctl_k_port_index);

    auto& config = out.config;
    config.adminStatus =
        adminStatusOf(atomInt(port.get(), lldpctl_k_port_status), global.receiveOnly);
    // lldpd always sends the port description, system name and description; capabilities and
    // addresses only where its configuration says so.
    config.tlvsTxEnable = Lldp::PortConfig::EnabledTlvs(
        txPortDesc | txSysName | txSysDesc | (global.capabilitiesAdvertised ? txSysCap : 0));
    const auto power = powerOf(port.get());
    const bool sendsPower = power.has_value();
    config.dot3TlvsTxEnable = Lldp::PortConfig::Dot3EnabledTlvs(
        txMacPhy | txLinkAgg | txMaxFrameSize | (sendsPower ? txPower : 0));
    config.portVlanTxEnable = true;
    config.manAddrTxEnable = global.managementAdvertised;

    auto& local = out.local;
    local.portIdSubtype = toInt32(atomInt(port.get(), lldpctl_k_port_id_subtype));
    local.portId = atomBuffer(port.get(), lldpctl_k_port_id);
    local.portDesc = atomString(port.get(), lldpctl_k_port_descr);
    local.portVlanId = toInt32(std::max(atomInt(port.get(), lldpctl_k_port_vlan_pvid), 0L));
    if (const long aggregId = atomInt(port.get(), lldpctl_k_port_dot3_aggregid); aggregId > 0) {
        local.linkAggStatus = Lldp::LinkAggStatusMap{linkAggCapableEnabled};
        local.linkAggPortId = toInt32(aggregId);
    }
    local.maxFrameSize = toInt32(std::max(atomInt(port.get(), lldpctl_k_port_dot3_mfs), 0L));
    local.macPhy = macPhyOf(port.get()).value_or(Lldp::MacPhyConfigStatusInfo{});
    local.power = power;
    // The policies and locations configured on the port (lldpcli configure ports ... med).
    local.med.policies = readMedPolicies(port.get());
    local.med.locations = readMedLocations(port.get());

    auto counter = [&](lldpctl_key_t key) {
        return static_cast<uint32_t>(std::max(atomInt(port.get(), key), 0L));
    };
    auto& stats = out.statistics;
    stats.txFramesTotal = counter(lldpctl_k_tx_cnt);
    stats.rxFramesTotal = counter(lldpctl_k_rx_cnt);
    // lldpd drops a frame it cannot decode whole and counts it once: it is both an error and a
    // discarded frame. It keeps unknown TLVs rather than discarding them.
    stats.rxFramesDiscardedTotal = counter(lldpctl_k_rx_discarded_cnt);
    stats.rxFramesErrors = stats.rxFramesDiscardedTotal;
    stats.rxTLVsUnrecognizedTotal = counter(lldpctl_k_rx_unrecognized_cnt);
    stats.rxTLVsDiscardedTotal = 0;
    stats.rxAgeoutsTotal = counter(lldpctl_k_ageout_cnt);

    Atom neighbors(lldpctl_atom_get(port.get(), lldpctl_k_port_neighbors));
    forEachAtom(neighbors.get(), [&](lldpctl_atom_t* neighbor) {
        // CDP, EDP and the like are not LLDP neighbours.
        if (atomInt(neighbor, lldpctl_k_port_protocol, protocolLldp) != protocolLldp) {
            return;
        }
        out.neighbors.push_back(readNeighbor(neighbor));
    });
    return out;
}

} // namespace LldpSnmpd
