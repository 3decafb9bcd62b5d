// LLDP-EXT-MED-MIB tables on the shared table frame: the port configuration (AUGMENTing
// lldpPortConfigEntry), the local network policies, locations and PSE ports, and the seven
// neighbour tables. A neighbour is listed in a remote table only while it sends the MED TLV
// the table shows; the policy and location tables list what each neighbour sent.
#include "conv/MedConversions.h"
#include "mib/LldpXMedMIB.h"

#include "mib/LldpXMedScalars.h"
#include "mib/MemberTables.h"
#include "mib/TableFrame.h"

using Lldp::Snmp::Root;
using LldpMibFrame::agentOrDefault;
using LldpMibFrame::ColumnAnswer;
using LldpMibFrame::IndexObject;
using LldpMibFrame::IndexWriter;

namespace {

struct InXMed {
    static LldpMibFrame::Module& mibModule() { return lldpXMedModule(); }
};
using PortTable = LldpMibFrame::PortTable<InXMed>;
template <LldpMibFrame::RemoteSystemFilter sentTlv>
using NeighbourTable = LldpMibFrame::RemoteSystemTable<InXMed, sentTlv>;

void writeAppType(IndexWriter& w, const Lldp::PolicyAppType& type) {
    unsigned char bits[2];
    PolicyAppTypeToAsnBits(type, bits, sizeof bits);
    w.octets("appType", Zim::String8(bits, sizeof bits), 2);
}

bool answerBits(ColumnAnswer& a, const char* column, const char* attribute,
                const Lldp::MedCapabilities& caps) {
    return a.encoded(column, attribute, "MedCapabilitiesToAsnBits", 1024,
                     [&](unsigned char* b, int n) { return MedCapabilitiesToAsnBits(caps, b, n); });
}

// The six columns of a network policy, local or remote: column 1 is the index.
bool answerPolicy(ColumnAnswer& a, int column, const Lldp::MediaPolicy& p, const char* prefix) {
    const std::string name = std::string(prefix) + [&] {
        switch (column) {
        case 2:
            return "VlanID";
        case 3:
            return "Priority";
        case 4:
            return "Dscp";
        case 5:
            return "Unknown";
        default:
            return "Tagged";
        }
    }();
    switch (column) {
    case 2:
        return a.integer(name.c_str(), "vlanId", p.vlanId);
    case 3:
        return a.integer(name.c_str(), "priority", p.priority);
    case 4:
        return a.integer(name.c_str(), "dscp", p.dscp);
    case 5:
        return a.truthValue(name.c_str(), "unknown", p.unknown);
    default:
        return a.truthValue(name.c_str(), "tagged", p.tagged);
    }
}

bool answerLocation(ColumnAnswer& a, const char* column, const Lldp::MedLocation& location) {
    return a.octets(column, "info", location.info(), "MedLocationInfo", 256, 1024, 0, 256);
}

struct lldpXMedPortConfigTableDef : PortTable {
    static constexpr const char* name = "lldpXMedPortConfigTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 1, 2};
    static constexpr IndexObject indexes[] = {{"lldpPortConfigPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1, 2, 3};
    // Two columns are writable in the MIB: a SET reaches the handler and is refused there.
    static constexpr const char* setRefusal =
        "lldpXMedPortConfigTable_handler: SET is not configured for columns "
        "lldpXMedPortConfigTLVsTxEnable and lldpXMedPortConfigNotifEnable";
    using Map = Root::PortConfigMap;
    static const Map& rows(const Root& root) { return root.portConfig(); }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::PortConfig>& row) {
        const auto& c = agentOrDefault(row->ptr());
        switch (column) {
        case 1:
            return answerBits(a, "lldpXMedPortCapSupported", "medCapSupported",
                              c.medCapSupported());
        case 2:
            return answerBits(a, "lldpXMedPortConfigTLVsTxEnable", "medTlvsTxEnable",
                              c.medTlvsTxEnable());
        default:
            return a.truthValue("lldpXMedPortConfigNotifEnable", "medNotifEnable",
                                c.medNotifEnable());
        }
    }
};

struct lldpXMedLocMediaPolicyTableDef
    : LldpMibFrame::LocalMemberTable<InXMed, Lldp::Snmp::LocalMediaPolicyKey> {
    static constexpr const char* name = "lldpXMedLocMediaPolicyTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 2, 1};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER},
                                              {"lldpXMedLocMediaPolicyAppType", ASN_OCTET_STR}};
    static constexpr unsigned columns[] = {2, 3, 4, 5, 6};
    using Map = Root::LocalMediaPolicyMap;
    static const Map& rows(const Root& root) { return root.localMediaPolicy(); }
    static void writeIndexes(IndexWriter& w, const Key& key) {
        writePort(w, key);
        writeAppType(w, key.sub);
    }
    static bool answer(ColumnAnswer& a, int column, const Lldp::Snmp::LocalMediaPolicy& row) {
        return answerPolicy(a, column, row.rawValue, "lldpXMedLocMediaPolicy");
    }
};

struct lldpXMedLocLocationTableDef
    : LldpMibFrame::LocalMemberTable<InXMed, Lldp::Snmp::LocalLocationKey> {
    static constexpr const char* name = "lldpXMedLocLocationTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 2, 9};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER},
                                              {"lldpXMedLocLocationSubtype", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2};
    // Writable in the MIB: a SET reaches the handler and is refused there.
    static constexpr const char* setRefusal =
        "lldpXMedLocLocationTable_handler: SET is not configured for column "
        "lldpXMedLocLocationInfo";
    using Map = Root::LocalLocationMap;
    static const Map& rows(const Root& root) { return root.localLocation(); }
    static void writeIndexes(IndexWriter& w, const Key& key) {
        writePort(w, key);
        w.integer("locationSubtype", key.sub);
    }
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::LocalLocation& row) {
        return answerLocation(a, "lldpXMedLocLocationInfo", row.rawValue);
    }
};

struct lldpXMedLocXPoEPSEPortTableDef : PortTable {
    static constexpr const char* name = "lldpXMedLocXPoEPSEPortTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 2, 11};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1, 2};
    using Map = Root::LocalPortMap;
    static const Map& rows(const Root& root) { return root.localPort(); }
    static bool keep(const Map::ConstIterator& it) {
        const auto& row = it.value();
        return row && row->ptr() && row->ptr()->medPsePortPower().has_value();
    }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::LocalPort>& row) {
        const auto power =
            agentOrDefault(row->ptr()).medPsePortPower().value_or(Lldp::MedPsePortPower{});
        if (column == 1)
            return a.gauge32("lldpXMedLocXPoEPSEPortPowerAv", "powerAv", power.powerAv);
        return a.integer("lldpXMedLocXPoEPSEPortPDPriority", "pdPriority", power.pdPriority);
    }
};

struct lldpXMedRemCapabilitiesTableDef : NeighbourTable<medCapabilitiesTlvReceived> {
    static constexpr const char* name = "lldpXMedRemCapabilitiesTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 1};
    static constexpr unsigned columns[] = {1, 2, 3};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        const auto& r = agentOrDefault(row->ptr());
        switch (column) {
        case 1:
            return answerBits(a, "lldpXMedRemCapSupported", "medCapSupported", r.medCapSupported());
        case 2:
            return answerBits(a, "lldpXMedRemCapCurrent", "medCapCurrent", r.medCapCurrent());
        default:
            return a.integer("lldpXMedRemDeviceClass", "medDeviceClass", r.medDeviceClass());
        }
    }
};

struct lldpXMedRemMediaPolicyTableDef
    : LldpMibFrame::RemoteMemberTable<InXMed, Lldp::Snmp::RemoteMediaPolicyKey> {
    static constexpr const char* name = "lldpXMedRemMediaPolicyTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 2};
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER},
                                              {"lldpXMedRemMediaPolicyAppType", ASN_OCTET_STR}};
    static constexpr unsigned columns[] = {2, 3, 4, 5, 6};
    using Map = Root::RemoteMediaPolicyMap;
    static const Map& rows(const Root& root) { return root.remoteMediaPolicy(); }
    static void writeIndexes(IndexWriter& w, const Key& key) {
        writeNeighbour(w, key);
        writeAppType(w, key.sub);
    }
    static bool answer(ColumnAnswer& a, int column, const Lldp::Snmp::RemoteMediaPolicy& row) {
        return answerPolicy(a, column, row.rawValue, "lldpXMedRemMediaPolicy");
    }
};

struct lldpXMedRemInventoryTableDef : NeighbourTable<medInventoryTlvReceived> {
    static constexpr const char* name = "lldpXMedRemInventoryTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 3};
    static constexpr unsigned columns[] = {1, 2, 3, 4, 5, 6, 7};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        const auto& inventory = agentOrDefault(row->ptr()).medInventory();
        struct Column {
            const char* name;
            const char* attribute;
            const Zim::String8& value;
        };
        const Column all[] = {
            {"lldpXMedRemHardwareRev", "hardwareRev", inventory.hardwareRev},
            {"lldpXMedRemFirmwareRev", "firmwareRev", inventory.firmwareRev},
            {"lldpXMedRemSoftwareRev", "softwareRev", inventory.softwareRev},
            {"lldpXMedRemSerialNum", "serialNum", inventory.serialNum},
            {"lldpXMedRemMfgName", "mfgName", inventory.mfgName},
            {"lldpXMedRemModelName", "modelName", inventory.modelName},
            {"lldpXMedRemAssetID", "assetId", inventory.assetId},
        };
        const Column& c = all[column - 1];
        return a.octets(c.name, c.attribute, c.value, "SnmpAdminString32", 1024, 1024, 0, 32);
    }
};

struct lldpXMedRemLocationTableDef
    : LldpMibFrame::RemoteMemberTable<InXMed, Lldp::Snmp::RemoteLocationKey> {
    static constexpr const char* name = "lldpXMedRemLocationTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 4};
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER},
                                              {"lldpXMedRemLocationSubtype", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2};
    using Map = Root::RemoteLocationMap;
    static const Map& rows(const Root& root) { return root.remoteLocation(); }
    static void writeIndexes(IndexWriter& w, const Key& key) {
        writeNeighbour(w, key);
        w.integer("locationSubtype", key.sub);
    }
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::RemoteLocation& row) {
        return answerLocation(a, "lldpXMedRemLocationInfo", row.rawValue);
    }
};

struct lldpXMedRemXPoETableDef : NeighbourTable<medPowerTlvReceived> {
    static constexpr const char* name = "lldpXMedRemXPoETable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 5};
    static constexpr unsigned columns[] = {1};
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        return a.integer("lldpXMedRemXPoEDeviceType", "deviceType",
                         agentOrDefault(row->ptr()).medPower().deviceType);
    }
};

// The PSE and PD tables: the same three values, read as the device type names them.
template <bool pse>
bool answerPower(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
    const auto& power = agentOrDefault(row->ptr()).medPower();
    switch (column) {
    case 1:
        return a.gauge32(pse ? "lldpXMedRemXPoEPSEPowerAv" : "lldpXMedRemXPoEPDPowerReq",
                         "powerValue", power.powerValue);
    case 2:
        return a.integer(pse ? "lldpXMedRemXPoEPSEPowerSource" : "lldpXMedRemXPoEPDPowerSource",
                         "powerSource", power.powerSource);
    default:
        return a.integer(pse ? "lldpXMedRemXPoEPSEPowerPriority" : "lldpXMedRemXPoEPDPowerPriority",
                         "powerPriority", power.powerPriority);
    }
}

struct lldpXMedRemXPoEPSETableDef : NeighbourTable<medPsePowerTlvReceived> {
    static constexpr const char* name = "lldpXMedRemXPoEPSETable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 6};
    static constexpr unsigned columns[] = {1, 2, 3};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        return answerPower<true>(a, column, row);
    }
};

struct lldpXMedRemXPoEPDTableDef : NeighbourTable<medPdPowerTlvReceived> {
    static constexpr const char* name = "lldpXMedRemXPoEPDTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 7};
    static constexpr unsigned columns[] = {1, 2, 3};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        return answerPower<false>(a, column, row);
    }
};

} // namespace

LLDP_MIB_MODULE(LldpXMedMIB, lldpXMedModule, LLDP_XMED_MIB_TABLES, registerLldpXMedScalars)
