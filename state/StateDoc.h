#pragma once
// The LLDP agent's state as a state file describes it, parsed and checked: every value already
// in the platform's own types, so applying it can no longer fail on a value.
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/Values.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace LldpSnmpd {

struct LinkAggDoc {
    Lldp::LinkAggStatusMap status;
    int32_t portId = 0;
    friend bool operator==(const LinkAggDoc&, const LinkAggDoc&) = default;
};

// The LLDP-MED TLVs of a neighbour; present exactly when it sent the capabilities TLV.
struct NeighborMedDoc {
    Lldp::MedCapabilities capSupported;
    Lldp::MedCapabilities capCurrent;
    int32_t deviceClass = 0;
    std::map<Lldp::PolicyAppType, Lldp::MediaPolicy> policies;
    std::optional<Lldp::MedInventory> inventory;
    std::map<int32_t, Lldp::MedLocation> locations; // by subtype
    std::optional<Lldp::MedExtendedPower> power;
    friend bool operator==(const NeighborMedDoc&, const NeighborMedDoc&) = default;
};

struct NeighborDoc {
    int32_t index = 0;
    // Absent: the daemon keeps the time of the neighbour's last real change itself.
    std::optional<double> lastChangeTime;
    int32_t chassisIdSubtype = 0;
    Zim::String8 chassisId;
    int32_t portIdSubtype = 0;
    Zim::String8 portId;
    Zim::String8 portDesc;
    Zim::String8 sysName;
    Zim::String8 sysDesc;
    Lldp::SystemCapabilitiesMap sysCapSupported;
    Lldp::SystemCapabilitiesMap sysCapEnabled;
    std::map<Lldp::ManagementAddress::Key, Lldp::ManagementAddress> managementAddresses;
    std::map<uint32_t, Lldp::UnknownTlv> unknownTlvs;
    std::map<Lldp::UnknownOrgDefTlv::Key, Lldp::UnknownOrgDefTlv> orgDefTlvs;
    // The optional TLVs: present exactly when the neighbour sent them.
    std::optional<int32_t> portVlanId;
    std::map<Bridging::VlanIdOrNone, Lldp::PortAndProtocolVlan> protoVlans;
    std::map<Bridging::VlanId, Lldp::VlanName> vlanNames;
    std::map<int32_t, Lldp::ProtocolIdentityInfo> protocols;
    std::optional<Lldp::MacPhyConfigStatusInfo> macPhy;
    std::optional<Lldp::PowerViaMdiInfo> power;
    std::optional<LinkAggDoc> linkAgg;
    std::optional<int32_t> maxFrameSize;
    std::optional<NeighborMedDoc> med;
    // A hash of the JSON object the neighbour was read from, its change time left out: two
    // readings of the same object give the same print. 0 when it was not read from JSON.
    uint64_t fingerprint = 0;

    friend bool operator==(const NeighborDoc&, const NeighborDoc&) = default;
};

struct PortConfigDoc {
    int32_t adminStatus = 3; // txAndRx
    bool notificationEnable = false;
    Lldp::PortConfig::EnabledTlvs tlvsTxEnable;
    Lldp::PortConfig::Dot3EnabledTlvs dot3TlvsTxEnable;
    bool portVlanTxEnable = false;
    bool manAddrTxEnable = false;
    friend bool operator==(const PortConfigDoc&, const PortConfigDoc&) = default;
};

// The LLDP-MED objects of one local port.
struct LocalPortMedDoc {
    Lldp::MedCapabilities capSupported;
    Lldp::MedCapabilities tlvsTxEnable;
    bool notifEnable = false;
    std::map<Lldp::PolicyAppType, Lldp::MediaPolicy> policies;
    std::map<int32_t, Lldp::MedLocation> locations; // by subtype
    std::optional<Lldp::MedPsePortPower> psePower;
    friend bool operator==(const LocalPortMedDoc&, const LocalPortMedDoc&) = default;
};

struct LocalPortDoc {
    int32_t portIdSubtype = 5; // interfaceName
    Zim::String8 portId;
    Zim::String8 portDesc;
    int32_t portVlanId = 0;
    Lldp::LinkAggStatusMap linkAggStatus;
    int32_t linkAggPortId = 0;
    int32_t maxFrameSize = 0;
    // The IEEE 802.1 members the port can send, each with whether it does.
    std::map<Bridging::VlanIdOrNone, Lldp::TxEnabled<Lldp::PortAndProtocolVlan>> protoVlans;
    std::map<Bridging::VlanId, Lldp::TxEnabled<Lldp::VlanName>> vlanNames;
    std::map<int32_t, Lldp::TxEnabled<Lldp::ProtocolIdentityInfo>> protocols;
    Lldp::MacPhyConfigStatusInfo macPhy;
    std::optional<Lldp::PowerViaMdiInfo> power;
    LocalPortMedDoc med;
    friend bool operator==(const LocalPortDoc&, const LocalPortDoc&) = default;
};

struct StatisticsDoc {
    uint32_t txFramesTotal = 0;
    uint32_t rxFramesDiscardedTotal = 0;
    uint32_t rxFramesErrors = 0;
    uint32_t rxFramesTotal = 0;
    uint32_t rxTLVsDiscardedTotal = 0;
    uint32_t rxTLVsUnrecognizedTotal = 0;
    uint32_t rxAgeoutsTotal = 0;
    friend bool operator==(const StatisticsDoc&, const StatisticsDoc&) = default;
};

struct InterfaceDoc {
    Ifkit::IntfId name;
    Interface::EthPortId portNum;
    PortConfigDoc config;
    LocalPortDoc local;
    StatisticsDoc statistics;
    std::map<int32_t, NeighborDoc> neighbors; // by index
    // Neighbours the reader found applied just as the file has them, by index: the document
    // does not hold them.
    std::vector<int32_t> unchanged;
};

struct LocalManAddrDoc {
    Lldp::ManagementAddress address;
    Lldp::ManAddrPriority priority; // 0: none
};

// LLDP-MED of the local system: the device class (notDefined until stated), inventory and
// extended power.
struct LocalSystemMedDoc {
    int32_t deviceClass = 0;
    Lldp::MedInventory inventory;
    Lldp::MedLocalPower power;
};

struct LocalSystemDoc {
    int32_t chassisIdSubtype = 4; // macAddress
    Zim::String8 chassisId;
    Zim::String8 sysName;
    Zim::String8 sysDesc;
    Lldp::SystemCapabilitiesMap sysCapSupported;
    Lldp::SystemCapabilitiesMap sysCapEnabled;
    std::map<Lldp::ManagementAddress::Key, LocalManAddrDoc> managementAddresses;
    LocalSystemMedDoc med;
};

struct ConfigDoc {
    // The LLDP-MIB's default values.
    int32_t messageTxInterval = 30;
    int32_t messageTxHoldMultiplier = 4;
    int32_t reinitDelay = 2;
    int32_t txDelay = 2;
    uint32_t medFastStartRepeatCount = 3;
};

// Every field may be left out: the daemon then keeps the counter or time as an agent would.
struct StatusDoc {
    std::optional<double> remTablesLastChangeTime;
    std::optional<uint32_t> remTablesInserts;
    std::optional<uint32_t> remTablesDeletes;
    std::optional<uint32_t> remTablesDrops;
    std::optional<uint32_t> remTablesAgeouts;
};

struct StateDoc {
    ConfigDoc config;
    StatusDoc status;
    LocalSystemDoc localSystem;
    std::map<Ifkit::IntfId, InterfaceDoc> interfaces; // by name

    // The interfaces in port-number order, the order in which their rows are made.
    std::vector<const InterfaceDoc*> interfacesByPort() const;
};

} // namespace LldpSnmpd
