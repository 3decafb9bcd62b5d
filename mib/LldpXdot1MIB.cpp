// LLDP-EXT-DOT1-MIB: the local and configuration tables and four neighbour tables on the shared
// table frame. The local member tables (protocol VLANs, VLAN names, protocol identities) are
// AUGMENTed by configuration tables that say whether each member is sent.
#include "mib/LldpXdot1MIB.h"

#include "mib/MemberTables.h"
#include "mib/TableFrame.h"

using Lldp::Snmp::Root;
using LldpMibFrame::agentOrDefault;
using LldpMibFrame::ColumnAnswer;
using LldpMibFrame::HintValues;
using LldpMibFrame::IndexObject;
using LldpMibFrame::IndexWriter;
using LldpMibFrame::portFromHint;

namespace {

LldpMibFrame::Module& lldpXdot1Module() {
    static LldpMibFrame::Module module("LldpXdot1MIB");
    return module;
}

struct InXdot1 {
    static LldpMibFrame::Module& mibModule() { return lldpXdot1Module(); }
};
using PortTable = LldpMibFrame::PortTable<InXdot1>;
using RemoteTable = LldpMibFrame::RemoteTable<InXdot1>;

// The neighbour sub-tables: the neighbour's three index objects and one of their own.
template <class Key> struct NeighbourSubTable : RemoteTable {
    static Key keyFromHint(const HintValues& v) {
        return Key(portFromHint(v[1]), static_cast<int32_t>(v[2]), ownIndex(v[3]));
    }
    static auto ownIndex(uint32_t v) {
        using Own = std::remove_cvref_t<decltype(std::get<2>(Key().fields()))>;
        if constexpr (std::is_same_v<Own, int32_t>) {
            return static_cast<int32_t>(v);
        } else {
            return Own(static_cast<uint16_t>(v));
        }
    }
};

struct lldpXdot1ConfigPortVlanTableDef : PortTable {
    static constexpr const char* name = "lldpXdot1ConfigPortVlanTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 1, 1};
    static constexpr IndexObject indexes[] = {{"lldpPortConfigPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1};
    // Registered writable like the LLDP-MIB configuration objects, so that a SET reaches the
    // handler and is refused there.
    static constexpr const char* setRefusal =
        "lldpXdot1ConfigPortVlanTable_handler: SET is not configured for column "
        "lldpXdot1ConfigPortVlanTxEnable";
    using Map = Root::PortConfigMap;
    static const Map& rows(const Root& root) { return root.portConfig(); }
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::PortConfig>& row) {
        return a.truthValue("lldpXdot1ConfigPortVlanTxEnable", "portVlanTxEnable",
                            agentOrDefault(row->ptr()).portVlanTxEnable());
    }
};

struct lldpXdot1LocTableDef : PortTable {
    static constexpr const char* name = "lldpXdot1LocTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 2, 1};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1};
    using Map = Root::LocalPortMap;
    static const Map& rows(const Root& root) { return root.localPort(); }
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::LocalPort>& row) {
        return a.integer("lldpXdot1LocPortVlanId", "portVlanId",
                         agentOrDefault(row->ptr()).portVlanId());
    }
};

// The port and its member: (lldpLocPortNum, own index), and whether the member is sent.
template <class Key> using LocalMemberTable = LldpMibFrame::LocalMemberTable<InXdot1, Key>;

// Writable in the MIB (each has a setRefusal): a SET reaches the handler and is refused there.
template <class Key> struct ConfigMemberTable : LocalMemberTable<Key> {
    static constexpr unsigned columns[] = {1};
};

constexpr IndexObject protoVlanIndexes[] = {
    {"lldpLocPortNum", ASN_INTEGER},
    {"lldpXdot1LocProtoVlanId", ASN_INTEGER, LldpMibFrame::checkVlanIdOrNone}};
constexpr IndexObject vlanNameIndexes[] = {
    {"lldpLocPortNum", ASN_INTEGER},
    {"lldpXdot1LocVlanId", ASN_INTEGER, LldpMibFrame::checkVlanId}};
constexpr IndexObject protocolIndexes[] = {{"lldpLocPortNum", ASN_INTEGER},
                                           {"lldpXdot1LocProtocolIndex", ASN_INTEGER}};

struct ProtoVlanRows {
    using Map = Root::LocalPortAndProtocolVlanMap;
    static const Map& rows(const Root& root) { return root.localPortAndProtocolVlan(); }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::LocalPortAndProtocolVlanKey& key) {
        w.integer("portNum", key.ethPortId.value());
        w.integer("protoVlanId", key.sub.value());
    }
};
struct VlanNameRows {
    using Map = Root::LocalVlanNameMap;
    static const Map& rows(const Root& root) { return root.localVlanName(); }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::LocalVlanNameKey& key) {
        w.integer("portNum", key.ethPortId.value());
        w.integer("vlanId", key.sub.value());
    }
};
struct ProtocolRows {
    using Map = Root::LocalProtocolIdentityInfoMap;
    static const Map& rows(const Root& root) { return root.localProtocolIdentityInfo(); }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::LocalProtocolIdentityInfoKey& key) {
        w.integer("portNum", key.ethPortId.value());
        w.integer("protocolIndex", key.sub);
    }
};

struct lldpXdot1ConfigVlanNameTableDef : ConfigMemberTable<Lldp::Snmp::LocalVlanNameKey>,
                                         VlanNameRows {
    static constexpr const char* name = "lldpXdot1ConfigVlanNameTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 1, 2};
    static constexpr const IndexObject (&indexes)[2] = vlanNameIndexes;
    static constexpr const char* setRefusal =
        "lldpXdot1ConfigVlanNameTable_handler: SET is not configured for column "
        "lldpXdot1ConfigVlanNameTxEnable";
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::LocalVlanName& row) {
        return a.truthValue("lldpXdot1ConfigVlanNameTxEnable", "txEnable", row.rawValue.txEnable);
    }
};

struct lldpXdot1ConfigProtoVlanTableDef
    : ConfigMemberTable<Lldp::Snmp::LocalPortAndProtocolVlanKey>,
      ProtoVlanRows {
    static constexpr const char* name = "lldpXdot1ConfigProtoVlanTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 1, 3};
    static constexpr const IndexObject (&indexes)[2] = protoVlanIndexes;
    static constexpr const char* setRefusal =
        "lldpXdot1ConfigProtoVlanTable_handler: SET is not configured for column "
        "lldpXdot1ConfigProtoVlanTxEnable";
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::LocalPortAndProtocolVlan& row) {
        return a.truthValue("lldpXdot1ConfigProtoVlanTxEnable", "txEnable", row.rawValue.txEnable);
    }
};

struct lldpXdot1ConfigProtocolTableDef
    : ConfigMemberTable<Lldp::Snmp::LocalProtocolIdentityInfoKey>,
      ProtocolRows {
    static constexpr const char* name = "lldpXdot1ConfigProtocolTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 1, 4};
    static constexpr const IndexObject (&indexes)[2] = protocolIndexes;
    static constexpr const char* setRefusal =
        "lldpXdot1ConfigProtocolTable_handler: SET is not configured for column "
        "lldpXdot1ConfigProtocolTxEnable";
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::LocalProtocolIdentityInfo& row) {
        return a.truthValue("lldpXdot1ConfigProtocolTxEnable", "txEnable", row.rawValue.txEnable);
    }
};

struct lldpXdot1LocProtoVlanTableDef : LocalMemberTable<Lldp::Snmp::LocalPortAndProtocolVlanKey>,
                                       ProtoVlanRows {
    static constexpr const char* name = "lldpXdot1LocProtoVlanTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 2, 2};
    static constexpr const IndexObject (&indexes)[2] = protoVlanIndexes;
    static constexpr unsigned columns[] = {2, 3};
    static bool answer(ColumnAnswer& a, int column,
                       const Lldp::Snmp::LocalPortAndProtocolVlan& row) {
        const auto& vlan = row.rawValue.member;
        if (column == 2)
            return a.truthValue("lldpXdot1LocProtoVlanSupported", "supported", vlan.supported());
        return a.truthValue("lldpXdot1LocProtoVlanEnabled", "enabled", vlan.enabled());
    }
};

struct lldpXdot1LocVlanNameTableDef : LocalMemberTable<Lldp::Snmp::LocalVlanNameKey>, VlanNameRows {
    static constexpr const char* name = "lldpXdot1LocVlanNameTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 2, 3};
    static constexpr const IndexObject (&indexes)[2] = vlanNameIndexes;
    static constexpr unsigned columns[] = {2};
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::LocalVlanName& row) {
        return a.octets("lldpXdot1LocVlanName", "vlanName", row.rawValue.member.vlanName(),
                        "BoundedString1024", 1024, 1024, 1, 32);
    }
};

struct lldpXdot1LocProtocolTableDef : LocalMemberTable<Lldp::Snmp::LocalProtocolIdentityInfoKey>,
                                      ProtocolRows {
    static constexpr const char* name = "lldpXdot1LocProtocolTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 2, 4};
    static constexpr const IndexObject (&indexes)[2] = protocolIndexes;
    static constexpr unsigned columns[] = {2};
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::LocalProtocolIdentityInfo& row) {
        return a.octets("lldpXdot1LocProtocolId", "protocolId", row.rawValue.member.protocolId(),
                        "BoundedString1024", 1024, 1024, 1, 255);
    }
};

struct lldpXdot1RemTableDef : LldpMibFrame::RemoteSystemTable<InXdot1, portVlanIdTlvReceived> {
    static constexpr const char* name = "lldpXdot1RemTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 3, 1};
    static constexpr unsigned columns[] = {1};
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        return a.integer("lldpXdot1RemPortVlanId", "portVlanId",
                         agentOrDefault(row->ptr()).portVlanId());
    }
};

struct lldpXdot1RemProtoVlanTableDef : NeighbourSubTable<Lldp::Snmp::RemotePortAndProtocolVlanKey> {
    static constexpr const char* name = "lldpXdot1RemProtoVlanTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 3, 2};
    static constexpr IndexObject indexes[] = {
        {"lldpRemTimeMark", ASN_TIMETICKS},
        {"lldpRemLocalPortNum", ASN_INTEGER},
        {"lldpRemIndex", ASN_INTEGER},
        {"lldpXdot1RemProtoVlanId", ASN_INTEGER, LldpMibFrame::checkVlanIdOrNone}};
    static constexpr unsigned columns[] = {2, 3};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemotePortAndProtocolVlan::Key";
    using Map = Root::RemotePortAndProtocolVlanMap;
    static const Map& rows(const Root& root) { return root.remotePortAndProtocolVlan(); }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemotePortAndProtocolVlanKey& key) {
        writeNeighbour(w, key);
        w.integer("portAndProtocolVlanId", key.portAndProtocolVlanId.value());
    }
    static bool answer(ColumnAnswer& a, int column,
                       const Lldp::Snmp::RemotePortAndProtocolVlan& row) {
        if (column == 2) {
            return a.truthValue("lldpXdot1RemProtoVlanSupported", "supported",
                                row.rawValue.supported());
        }
        return a.truthValue("lldpXdot1RemProtoVlanEnabled", "enabled", row.rawValue.enabled());
    }
};

struct lldpXdot1RemVlanNameTableDef : NeighbourSubTable<Lldp::Snmp::RemoteVlanNameKey> {
    static constexpr const char* name = "lldpXdot1RemVlanNameTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 3, 3};
    static constexpr IndexObject indexes[] = {
        {"lldpRemTimeMark", ASN_TIMETICKS},
        {"lldpRemLocalPortNum", ASN_INTEGER},
        {"lldpRemIndex", ASN_INTEGER},
        {"lldpXdot1RemVlanId", ASN_INTEGER, LldpMibFrame::checkVlanId}};
    static constexpr unsigned columns[] = {2};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemoteVlanName::Key";
    using Map = Root::RemoteVlanNameMap;
    static const Map& rows(const Root& root) { return root.remoteVlanName(); }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemoteVlanNameKey& key) {
        writeNeighbour(w, key);
        w.integer("vlanId", key.vlanId.value());
    }
    // An empty or over-long name is an error for this instance, never truncated.
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::RemoteVlanName& row) {
        return a.octets("lldpXdot1RemVlanName", "vlanName", row.rawValue.vlanName(),
                        "BoundedString1024", 1024, 1024, 1, 32);
    }
};

struct lldpXdot1RemProtocolTableDef : NeighbourSubTable<Lldp::Snmp::RemoteProtocolIdentityInfoKey> {
    static constexpr const char* name = "lldpXdot1RemProtocolTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 32962, 1, 3, 4};
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER},
                                              {"lldpXdot1RemProtocolIndex", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemoteProtocolIdentityInfo::Key";
    using Map = Root::RemoteProtocolIdentityInfoMap;
    static const Map& rows(const Root& root) { return root.remoteProtocolIdentityInfo(); }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemoteProtocolIdentityInfoKey& key) {
        writeNeighbour(w, key);
        w.integer("protocolIndex", key.protocolIndex);
    }
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::RemoteProtocolIdentityInfo& row) {
        return a.octets("lldpXdot1RemProtocolId", "protocolId", row.rawValue.protocolId(),
                        "BoundedString1024", 1024, 1024, 1, 255);
    }
};

} // namespace

LLDP_MIB_MODULE(LldpXdot1MIB, lldpXdot1Module, LLDP_XDOT1_MIB_TABLES)
