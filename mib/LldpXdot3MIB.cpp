// LLDP-EXT-DOT3-MIB: five local tables and four neighbour tables on the shared table frame. A
// neighbour is listed in a remote table only while it sends that table's TLV, and a local port
// in the power table only while it has power via MDI.
#include "mib/LldpXdot3MIB.h"

#include "mib/TableFrame.h"

using Lldp::Snmp::Root;
using LldpMibFrame::agentOrDefault;
using LldpMibFrame::ColumnAnswer;
using LldpMibFrame::IndexObject;

namespace {

LldpMibFrame::Module& lldpXdot3Module() {
    static LldpMibFrame::Module module("LldpXdot3MIB");
    return module;
}

struct InXdot3 {
    static LldpMibFrame::Module& mibModule() { return lldpXdot3Module(); }
};
using PortTable = LldpMibFrame::PortTable<InXdot3>;
template <LldpMibFrame::RemoteSystemFilter sentTlv>
using NeighbourTable = LldpMibFrame::RemoteSystemTable<InXdot3, sentTlv>;

// The local and the remote MAC/PHY tables answer the same four columns under their own names.
struct MacPhyColumns {
    const char* autoNegSupported;
    const char* autoNegEnabled;
    const char* autoNegAdvertisedCap;
    const char* operMauType;
};

bool answerMacPhy(ColumnAnswer& a, int column, const Lldp::MacPhyConfigStatusInfo& macPhy,
                  const MacPhyColumns& names) {
    switch (column) {
    case 1:
        return a.truthValue(names.autoNegSupported, "autoNegSupported", macPhy.autoNegSupported);
    case 2:
        return a.truthValue(names.autoNegEnabled, "autoNegEnabled", macPhy.autoNegEnabled);
    case 3:
        // Always two octets, high byte first: the value is already in BITS order.
        return a.encoded(
            names.autoNegAdvertisedCap, "autoNegAdvertisedCapAsU16",
            "AutoNegAdvertisedCapAsU16ToAsnBits", 2,
            [&](unsigned char* b, int n) {
                return AutoNegAdvertisedCapAsU16ToAsnBits(macPhy.autoNegAdvertisedCapAsU16, b, n);
            },
            2, 2);
    default:
        return a.integer(names.operMauType, "operMauType", macPhy.operMauType);
    }
}

struct lldpXdot3PortConfigTableDef : PortTable {
    static constexpr const char* name = "lldpXdot3PortConfigTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 1, 1};
    static constexpr IndexObject indexes[] = {{"lldpPortConfigPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1};
    using Map = Root::PortConfigMap;
    static const Map& rows(const Root& root) { return root.portConfig(); }
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::PortConfig>& row) {
        const auto& c = agentOrDefault(row->ptr());
        return a.encoded("lldpXdot3PortConfigTLVsTxEnable", "dot3EnabledTlvs",
                         "Dot3EnabledTlvsToAsnBits", 1024, [&](unsigned char* b, int n) {
                             return Dot3EnabledTlvsToAsnBits(c.dot3EnabledTlvs(), b, n);
                         });
    }
};

struct lldpXdot3LocPortTableDef : PortTable {
    static constexpr const char* name = "lldpXdot3LocPortTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 2, 1};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1, 2, 3, 4};
    using Map = Root::LocalPortMap;
    static const Map& rows(const Root& root) { return root.localPort(); }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::LocalPort>& row) {
        const auto& macPhy = agentOrDefault(row->ptr()).macPhy();
        return answerMacPhy(
            a, column, macPhy,
            MacPhyColumns{"lldpXdot3LocPortAutoNegSupported", "lldpXdot3LocPortAutoNegEnabled",
                          "lldpXdot3LocPortAutoNegAdvertisedCap", "lldpXdot3LocPortOperMauType"});
    }
};

struct lldpXdot3LocPowerTableDef : PortTable {
    static constexpr const char* name = "lldpXdot3LocPowerTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 2, 2};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1, 2, 3, 4, 5, 6};
    using Map = Root::LocalPortMap;
    static const Map& rows(const Root& root) { return root.localPort(); }
    static bool keep(const Map::ConstIterator& it) {
        const auto& row = it.value();
        return row && row->ptr() && row->ptr()->power().has_value();
    }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::LocalPort>& row) {
        const auto power = agentOrDefault(row->ptr()).power().value_or(Lldp::PowerViaMdiInfo{});
        switch (column) {
        case 1:
            return a.integer("lldpXdot3LocPowerPortClass", "powerPortClass", power.powerPortClass);
        case 2:
            return a.truthValue("lldpXdot3LocPowerMDISupported", "powerMdiSupported",
                                power.powerMdiSupported);
        case 3:
            return a.truthValue("lldpXdot3LocPowerMDIEnabled", "powerMdiEnabled",
                                power.powerMdiEnabled);
        case 4:
            return a.truthValue("lldpXdot3LocPowerPairControlable", "powerPairControllable",
                                power.powerPairControllable);
        case 5:
            return a.integer("lldpXdot3LocPowerPairs", "powerPairs", power.powerPairs);
        default:
            return a.integer("lldpXdot3LocPowerClass", "powerClass", power.powerClass);
        }
    }
};

struct lldpXdot3LocLinkAggTableDef : PortTable {
    static constexpr const char* name = "lldpXdot3LocLinkAggTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 2, 3};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1, 2};
    using Map = Root::LocalPortMap;
    static const Map& rows(const Root& root) { return root.localPort(); }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::LocalPort>& row) {
        const auto& p = agentOrDefault(row->ptr());
        if (column == 1) {
            return a.encoded("lldpXdot3LocLinkAggStatus", "linkAggStatus",
                             "LinkAggStatusMapToAsnBits", 1024, [&](unsigned char* b, int n) {
                                 return LinkAggStatusMapToAsnBits(p.linkAggStatus(), b, n);
                             });
        }
        return a.integer("lldpXdot3LocLinkAggPortId", "linkAggPortId", p.linkAggPortId());
    }
};

struct lldpXdot3LocMaxFrameSizeTableDef : PortTable {
    static constexpr const char* name = "lldpXdot3LocMaxFrameSizeTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 2, 4};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {1};
    using Map = Root::LocalPortMap;
    static const Map& rows(const Root& root) { return root.localPort(); }
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::LocalPort>& row) {
        return a.integer("lldpXdot3LocMaxFrameSize", "maxFrameSize",
                         agentOrDefault(row->ptr()).maxFrameSize());
    }
};

struct lldpXdot3RemPortTableDef : NeighbourTable<macPhyConfigStatusTlvReceived> {
    static constexpr const char* name = "lldpXdot3RemPortTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 3, 1};
    static constexpr unsigned columns[] = {1, 2, 3, 4};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        const auto& macPhy = agentOrDefault(row->ptr()).macPhy();
        return answerMacPhy(
            a, column, macPhy,
            MacPhyColumns{"lldpXdot3RemPortAutoNegSupported", "lldpXdot3RemPortAutoNegEnabled",
                          "lldpXdot3RemPortAutoNegAdvertisedCap", "lldpXdot3RemPortOperMauType"});
    }
};

struct lldpXdot3RemPowerTableDef : NeighbourTable<powerViaMdiTlvReceived> {
    static constexpr const char* name = "lldpXdot3RemPowerTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 3, 2};
    static constexpr unsigned columns[] = {1, 2, 3, 4, 5, 6};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        const auto& power = agentOrDefault(row->ptr()).power();
        switch (column) {
        case 1:
            return a.integer("lldpXdot3RemPowerPortClass", "powerPortClass", power.powerPortClass);
        case 2:
            return a.truthValue("lldpXdot3RemPowerMDISupported", "powerMdiSupported",
                                power.powerMdiSupported);
        case 3:
            return a.truthValue("lldpXdot3RemPowerMDIEnabled", "powerMdiEnabled",
                                power.powerMdiEnabled);
        case 4:
            // The column is spelled as the MIB spells it.
            return a.truthValue("lldpXdot3RemPowerPairControlable", "powerPairControllable",
                                power.powerPairControllable);
        case 5:
            return a.integer("lldpXdot3RemPowerPairs", "powerPairs", power.powerPairs);
        default:
            return a.integer("lldpXdot3RemPowerClass", "powerClass", power.powerClass);
        }
    }
};

struct lldpXdot3RemLinkAggTableDef : NeighbourTable<linkAggregationTlvReceived> {
    static constexpr const char* name = "lldpXdot3RemLinkAggTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 3, 3};
    static constexpr unsigned columns[] = {1, 2};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        const auto& r = agentOrDefault(row->ptr());
        if (column == 1) {
            return a.encoded("lldpXdot3RemLinkAggStatus", "linkAggStatus",
                             "LinkAggStatusMapToAsnBits", 1024, [&](unsigned char* b, int n) {
                                 return LinkAggStatusMapToAsnBits(r.linkAggStatus(), b, n);
                             });
        }
        return a.integer("lldpXdot3RemLinkAggPortId", "linkAggPortId", r.linkAggPortId());
    }
};

struct lldpXdot3RemMaxFrameSizeTableDef : NeighbourTable<maximumFrameSizeTlvReceived> {
    static constexpr const char* name = "lldpXdot3RemMaxFrameSizeTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 3, 4};
    static constexpr unsigned columns[] = {1};
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        return a.integer("lldpXdot3RemMaxFrameSize", "maxFrameSize",
                         agentOrDefault(row->ptr()).maxFrameSize());
    }
};

} // namespace

LLDP_MIB_MODULE(LldpXdot3MIB, lldpXdot3Module, LLDP_XDOT3_MIB_TABLES)
