// LLDP-MIB: the sixteen scalars, the ten tables, module registration per context, and the
// lldpRemTablesChange notification.
#include "mib/LldpMIB.h"

#include "mib/Module.h"
#include "mib/ScalarAnswer.h"
#include "mib/TableFrame.h"
#include "platform/snmp/TrapManager.h"

#include <iostream>

using Lldp::Snmp::Root;
using LldpMibFrame::agentOrDefault;
using LldpMibFrame::ColumnAnswer;
using LldpMibFrame::HintValues;
using LldpMibFrame::IndexObject;
using LldpMibFrame::IndexWriter;
using LldpMibFrame::portFromHint;

namespace {

LldpMibFrame::Module& lldpMibModule() {
    static LldpMibFrame::Module lldpMib("LldpMIB");
    return lldpMib;
}

const Zim::TraceHandle& _defaultTraceHandle() {
    return lldpMibModule().trace();
}

#define TRACE(level, expr) ZTRACE(_defaultTraceHandle(), level, expr)

// ---------------------------------------------------------------------------------------------
// Scalars: each reads one attribute of one agent entity at request time and converts it.

enum class Holder { config, status, localSystem };

struct Scalar {
    const char* name;
    Netsnmp_Node_Handler* handler;
    oid suffix[3]; // below 1.0.8802.1.1.2.1
    Holder holder;
    const char* attribute;
    const char* conversion;
    u_char asnType;
    int mode;
    int minLength; // octet strings only; -1 for the others
    int maxLength;
    int (*read)(const Zim::Entity& entity, unsigned char* buffer, int capacity);
};

const char* pathOf(Holder holder) {
    switch (holder) {
    case Holder::config:
        return "Statestore/l2discovery/lldp/config";
    case Holder::status:
        return "Statestore/l2discovery/lldp/status/all";
    case Holder::localSystem:
        return "Statestore/l2discovery/lldp/localSystem";
    }
    return "";
}

const char* typeOf(Holder holder) {
    switch (holder) {
    case Holder::config:
        return "Lldp::Config";
    case Holder::status:
        return "Lldp::AllStatus";
    case Holder::localSystem:
        return "Lldp::LocalSystem";
    }
    return "";
}

bool isOfType(Holder holder, const Zim::Entity& entity) {
    switch (holder) {
    case Holder::config:
        return dynamic_cast<const Lldp::Config*>(&entity) != nullptr;
    case Holder::status:
        return dynamic_cast<const Lldp::AllStatus*>(&entity) != nullptr;
    case Holder::localSystem:
        return dynamic_cast<const Lldp::LocalSystem*>(&entity) != nullptr;
    }
    return false;
}

// Readers of one attribute of the scalar's entity, converted as its MIB type wants it.
template <class Entity, auto attribute>
int readS32(const Zim::Entity& e, unsigned char* buffer, int capacity) {
    const auto value = (static_cast<const Entity&>(e).*attribute)();
    return Snmp::S32ToAsnIntegerF(static_cast<int32_t>(value), buffer, capacity);
}

template <auto attribute>
int readString(const Zim::Entity& e, unsigned char* buffer, int capacity) {
    const auto& value = (static_cast<const Lldp::LocalSystem&>(e).*attribute)();
    return Snmp::StringToAsnOctetStringF(value, buffer, capacity);
}

template <auto attribute>
int readCapabilities(const Zim::Entity& e, unsigned char* buffer, int capacity) {
    const auto& value = (static_cast<const Lldp::LocalSystem&>(e).*attribute)();
    return SystemCapabilitiesMapToAsnBits(value, buffer, capacity);
}

int readLastChangeTime(const Zim::Entity& e, unsigned char* buffer, int capacity) {
    const auto& status = static_cast<const Lldp::AllStatus&>(e);
    return Snmp::NowSecondsToUptimeTimeTicksF(status.remTablesLastChangeTime(), buffer, capacity);
}

using Lldp::AllStatus;
using Lldp::Config;
using Lldp::LocalSystem;
constexpr const char* s32 = "S32ToAsnInteger";
constexpr const char* octets = "StringToAsnOctetString";
constexpr const char* bits = "SystemCapabilitiesMapToAsnBits";
constexpr int rw = HANDLER_CAN_RWRITE;
constexpr int ro = HANDLER_CAN_RONLY;

// The name of a scalar and its handler, from one spelling.
#define SCALAR(scalar) #scalar, handle_##scalar

// In registration order. The remote-table counters are Gauge32 (ZeroBasedCounter32), not
// Counter32; the notification interval is the fixed 5 seconds the agent throttles with.
// clang-format off
const Scalar scalars[] = {
    {SCALAR(lldpMessageTxInterval), {1, 1}, Holder::config, "messageTxInterval", s32, ASN_INTEGER, rw, -1, -1, readS32<Config, &Config::messageTxInterval>},
    {SCALAR(lldpMessageTxHoldMultiplier), {1, 2}, Holder::config, "messageTxHoldMultiplier", s32, ASN_INTEGER, rw, -1, -1, readS32<Config, &Config::messageTxHoldMultiplier>},
    {SCALAR(lldpReinitDelay), {1, 3}, Holder::config, "reinitDelay", s32, ASN_INTEGER, rw, -1, -1, readS32<Config, &Config::reinitDelay>},
    {SCALAR(lldpTxDelay), {1, 4}, Holder::config, "txDelay", s32, ASN_INTEGER, rw, -1, -1, readS32<Config, &Config::txDelay>},
    {SCALAR(lldpNotificationInterval), {1, 5}, Holder::config, "notificationInterval", s32, ASN_INTEGER, rw, -1, -1, readS32<Config, &Config::notificationInterval>},
    {SCALAR(lldpStatsRemTablesLastChangeTime), {2, 1}, Holder::status, "remTablesLastChangeTime", "NowSecondsToUptimeTimeTicks", ASN_TIMETICKS, ro, -1, -1, readLastChangeTime},
    {SCALAR(lldpStatsRemTablesInserts), {2, 2}, Holder::status, "remTablesInserts", s32, ASN_GAUGE, ro, -1, -1, readS32<AllStatus, &AllStatus::remTablesInserts>},
    {SCALAR(lldpStatsRemTablesDeletes), {2, 3}, Holder::status, "remTablesDeletes", s32, ASN_GAUGE, ro, -1, -1, readS32<AllStatus, &AllStatus::remTablesDeletes>},
    {SCALAR(lldpStatsRemTablesDrops), {2, 4}, Holder::status, "remTablesDrops", s32, ASN_GAUGE, ro, -1, -1, readS32<AllStatus, &AllStatus::remTablesDrops>},
    {SCALAR(lldpStatsRemTablesAgeouts), {2, 5}, Holder::status, "remTablesAgeouts", s32, ASN_GAUGE, ro, -1, -1, readS32<AllStatus, &AllStatus::remTablesAgeouts>},
    {SCALAR(lldpLocChassisIdSubtype), {3, 1}, Holder::localSystem, "chassisIdSubtype", s32, ASN_INTEGER, ro, -1, -1, readS32<LocalSystem, &LocalSystem::chassisIdSubtype>},
    {SCALAR(lldpLocChassisId), {3, 2}, Holder::localSystem, "chassisId", octets, ASN_OCTET_STR, ro, 1, 255, readString<&LocalSystem::chassisId>},
    {SCALAR(lldpLocSysName), {3, 3}, Holder::localSystem, "sysName", octets, ASN_OCTET_STR, ro, 0, 255, readString<&LocalSystem::sysName>},
    {SCALAR(lldpLocSysDesc), {3, 4}, Holder::localSystem, "sysDesc", octets, ASN_OCTET_STR, ro, 0, 255, readString<&LocalSystem::sysDesc>},
    {SCALAR(lldpLocSysCapSupported), {3, 5}, Holder::localSystem, "sysCapSupported", bits, ASN_OCTET_STR, ro, -1, -1, readCapabilities<&LocalSystem::sysCapSupported>},
    {SCALAR(lldpLocSysCapEnabled), {3, 6}, Holder::localSystem, "sysCapEnabled", bits, ASN_OCTET_STR, ro, -1, -1, readCapabilities<&LocalSystem::sysCapEnabled>},
};
// clang-format on
#undef SCALAR

#define LLDP_MIB_COUNT_SCALAR(scalar) +1
static_assert(std::size(scalars) == 0 LLDP_MIB_SCALARS(LLDP_MIB_COUNT_SCALAR),
              "every scalar of LLDP_MIB_SCALARS has one row in scalars[]");
#undef LLDP_MIB_COUNT_SCALAR

const Scalar& scalarNamed(std::string_view name) {
    for (const Scalar& s : scalars) {
        if (name == s.name)
            return s;
    }
    ZIM_ASSERT_NAMED(false, "every scalar handler has a row in scalars[]");
}

constexpr size_t scalarOidLength = 9;

void scalarOid(const Scalar& s, oid (&name)[scalarOidLength]) {
    const oid prefix[] = {1, 0, 8802, 1, 1, 2, 1};
    std::copy(std::begin(prefix), std::end(prefix), name);
    name[7] = s.suffix[0];
    name[8] = s.suffix[1];
}

int handleScalar(const Scalar& s, netsnmp_handler_registration* reginfo,
                 netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    const std::string handler = std::string("handle_") + s.name;
    const char* path = pathOf(s.holder);
    const LldpMibFrame::ScalarValue value{s.name,    path,        s.attribute, s.conversion,
                                          s.asnType, s.minLength, s.maxLength};
    int status = SNMP_ERR_NOERROR;
    if (!LldpMibFrame::scalarGetToAnswer(_defaultTraceHandle(), value, reqinfo, requests, status))
        return status;
    const auto* entity = static_cast<const Zim::Entity*>(reginfo->my_reg_void);
    if (!entity) {
        TRACE(2,
              handler << " - entity /<sysname>/" << path << " is not of type " << typeOf(s.holder));
        netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
        return SNMP_ERR_GENERR;
    }
    TRACE(2, handler << " - reading " << path << "->" << s.attribute << "()");
    unsigned char buffer[1024];
    const int capacity = s.asnType == ASN_OCTET_STR && s.minLength >= 0 ? 255 : sizeof buffer;
    const int n = s.read(*entity, buffer, capacity);
    return LldpMibFrame::answerScalar(_defaultTraceHandle(), value, buffer, n, reqinfo, requests);
}

void registerScalars(Zim::String8 context) {
    auto& m = lldpMibModule();
    if (_defaultTraceHandle().enabled(1)) {
        for (const Scalar& s : scalars) {
            oid name[scalarOidLength];
            scalarOid(s, name);
            TRACE(1, "init_LldpMIB initializing oid "
                         << LldpMibFrame::oidText(name, scalarOidLength) << " in context "
                         << LldpMibFrame::quoted(context));
        }
    }
    for (const Scalar& s : scalars) {
        oid name[scalarOidLength];
        scalarOid(s, name);
        const std::string registrationName = std::string(s.name) + "_" + context.str();
        netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
            registrationName.c_str(), s.handler, name, scalarOidLength, s.mode);
        ZIM_ASSERT_NAMED(reg, (std::string("reg_") + s.name).c_str());
        reg->priority = 64;
        if (!context.empty()) {
            TRACE(2, "init_LldpMIB in context " << LldpMibFrame::quoted(context)
                                                << ": statestorePathWithContext not specified for "
                                                << s.name << "; "
                                                << "skipping registration");
            netsnmp_handler_registration_free(reg);
            continue;
        }
        m.contextHandlerRegistrations[context].push_back(reg);
        const char* path = pathOf(s.holder);
        auto entity = SnmpUtil::getEntityRelative(path);
        if (!entity) {
            std::cerr << "Can not getEntityRelative( " << path << " ) for scalar " << s.name
                      << ". Is this path correct?" << std::endl;
        }
        ZIM_ASSERT_NAMED(entity, (std::string("e_") + s.name).c_str());
        if (!isOfType(s.holder, *entity)) {
            std::cerr << path << " does not appear to be of type " << typeOf(s.holder)
                      << " for scalar " << s.name << "." << std::endl;
        }
        ZIM_ASSERT_NAMED(isOfType(s.holder, *entity), (std::string("ptr_") + s.name).c_str());
        // The registration holds no reference: the entity lives as long as the host's mount.
        reg->my_reg_void = entity.get();
        netsnmp_register_scalar(reg);
    }
}

} // namespace

// Each scalar's named handler answers from its row of scalars[].
#define LLDP_MIB_SCALAR_HANDLER(scalar)                                                            \
    int handle_##scalar(netsnmp_mib_handler*, netsnmp_handler_registration* reginfo,               \
                        netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {     \
        static const Scalar& row = scalarNamed(#scalar);                                           \
        return handleScalar(row, reginfo, reqinfo, requests);                                      \
    }
LLDP_MIB_SCALARS(LLDP_MIB_SCALAR_HANDLER)

// ---------------------------------------------------------------------------------------------
// Tables.

namespace {

struct InLldpMib {
    static LldpMibFrame::Module& mibModule() { return lldpMibModule(); }
};

using PortTable = LldpMibFrame::PortTable<InLldpMib>;
using LocalManAddrTable = LldpMibFrame::LocalManAddrTable<InLldpMib>;
using RemoteTable = LldpMibFrame::RemoteTable<InLldpMib>;

struct lldpPortConfigTableDef : PortTable {
    static constexpr const char* name = "lldpPortConfigTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 1, 6};
    static constexpr IndexObject indexes[] = {{"lldpPortConfigPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2, 3, 4};
    using Map = Root::PortConfigMap;
    static const Map& rows(const Root& root) { return root.portConfig(); }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::PortConfig>& row) {
        const auto& c = agentOrDefault(row->ptr());
        switch (column) {
        case 2:
            return a.integer("lldpPortConfigAdminStatus", "adminStatus", c.adminStatus());
        case 3:
            return a.truthValue("lldpPortConfigNotificationEnable", "notificationEnable",
                                c.notificationEnable());
        default:
            return a.encoded("lldpPortConfigTLVsTxEnable", "enabledTlvs", "EnabledTlvsToAsnBits",
                             1024, [&](unsigned char* b, int n) {
                                 return EnabledTlvsToAsnBits(c.enabledTlvs(), b, n);
                             });
        }
    }
};

struct lldpConfigManAddrTableDef : LocalManAddrTable {
    static constexpr const char* name = "lldpConfigManAddrTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 1, 7};
    static constexpr IndexObject indexes[] = {{"lldpLocManAddrSubtype", ASN_INTEGER},
                                              {"lldpLocManAddr", ASN_OCTET_STR}};
    static constexpr unsigned columns[] = {1};
    static bool answer(ColumnAnswer& a, int,
                       const Zim::Ptr<Lldp::Snmp::LocalManagementAddress>& row) {
        return a.encoded(
            "lldpConfigManAddrPortsTxEnable", "portsTxEnable", "PortsTxEnableToAsnOctetString", 512,
            [&](unsigned char* b, int n) {
                return PortsTxEnableToAsnOctetString(row->portsTxEnable(), b, n);
            },
            0, 512);
    }
};

struct lldpStatsTxPortTableDef : PortTable {
    static constexpr const char* name = "lldpStatsTxPortTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 2, 6};
    static constexpr IndexObject indexes[] = {{"lldpStatsTxPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2};
    using Map = Root::PortStatusMap;
    static const Map& rows(const Root& root) { return root.portStatus(); }
    static bool answer(ColumnAnswer& a, int, const Zim::Ptr<Lldp::Snmp::PortStatus>& row) {
        return a.counter32("lldpStatsTxPortFramesTotal", "txFramesTotal",
                           agentOrDefault(row->ptr()).txFramesTotal());
    }
};

struct lldpStatsRxPortTableDef : PortTable {
    static constexpr const char* name = "lldpStatsRxPortTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 2, 7};
    static constexpr IndexObject indexes[] = {{"lldpStatsRxPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2, 3, 4, 5, 6, 7};
    using Map = Root::PortStatusMap;
    static const Map& rows(const Root& root) { return root.portStatus(); }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::PortStatus>& row) {
        const auto& s = agentOrDefault(row->ptr());
        switch (column) {
        case 2:
            return a.counter32("lldpStatsRxPortFramesDiscardedTotal", "rxFramesDiscardedTotal",
                               s.rxFramesDiscardedTotal());
        case 3:
            return a.counter32("lldpStatsRxPortFramesErrors", "rxFramesErrors", s.rxFramesErrors());
        case 4:
            return a.counter32("lldpStatsRxPortFramesTotal", "rxFramesTotal", s.rxFramesTotal());
        case 5:
            return a.counter32("lldpStatsRxPortTLVsDiscardedTotal", "rxTLVsDiscardedTotal",
                               s.rxTLVsDiscardedTotal());
        case 6:
            return a.counter32("lldpStatsRxPortTLVsUnrecognizedTotal", "rxTLVsUnrecognizedTotal",
                               s.rxTLVsUnrecognizedTotal());
        default:
            // Gauge32 by the MIB's own definition, unlike its siblings.
            return a.gauge32("lldpStatsRxPortAgeoutsTotal", "rxAgeoutsTotal", s.rxAgeoutsTotal());
        }
    }
};

struct lldpLocPortTableDef : PortTable {
    static constexpr const char* name = "lldpLocPortTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 3, 7};
    static constexpr IndexObject indexes[] = {{"lldpLocPortNum", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2, 3, 4};
    using Map = Root::LocalPortMap;
    static const Map& rows(const Root& root) { return root.localPort(); }
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::LocalPort>& row) {
        const auto& p = agentOrDefault(row->ptr());
        switch (column) {
        case 2:
            return a.integer("lldpLocPortIdSubtype", "portIdSubtype", p.portIdSubtype());
        case 3:
            return a.octets("lldpLocPortId", "portId", p.portId(), "PortId", 255, 255, 1, 255);
        default:
            return a.octets("lldpLocPortDesc", "portDesc", p.portDesc(), "BoundedString255", 255,
                            255, 0, 255);
        }
    }
};

struct lldpLocManAddrTableDef : LocalManAddrTable {
    static constexpr const char* name = "lldpLocManAddrTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 3, 8};
    static constexpr IndexObject indexes[] = {{"lldpLocManAddrSubtype", ASN_INTEGER},
                                              {"lldpLocManAddr", ASN_OCTET_STR}};
    static constexpr unsigned columns[] = {3, 4, 5, 6};
    static bool answer(ColumnAnswer& a, int column,
                       const Zim::Ptr<Lldp::Snmp::LocalManagementAddress>& row) {
        const auto& m = row->rawValue();
        switch (column) {
        case 3:
            return a.integer("lldpLocManAddrLen", "manAddrLen", m.manAddrLen());
        case 4:
            return a.integer("lldpLocManAddrIfSubtype", "ifSubtype", m.ifSubtype());
        case 5:
            return a.integer("lldpLocManAddrIfId", "ifId", m.ifId());
        default:
            return a.objectId("lldpLocManAddrOID", "oid", m.oid());
        }
    }
};

struct lldpRemTableDef : LldpMibFrame::RemoteSystemTable<InLldpMib> {
    static constexpr const char* name = "lldpRemTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 4, 1};
    static constexpr unsigned columns[] = {4, 5, 6, 7, 8, 9, 10, 11, 12};
    static bool answer(ColumnAnswer& a, int column, const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        const auto& r = agentOrDefault(row->ptr());
        switch (column) {
        case 4:
            return a.integer("lldpRemChassisIdSubtype", "chassisIdSubtype", r.chassisIdSubtype());
        case 5:
            return a.octets("lldpRemChassisId", "chassisId", r.chassisId(), "ChassisId", 255, 255,
                            1, 255);
        case 6:
            return a.integer("lldpRemPortIdSubtype", "portIdSubtype", r.portIdSubtype());
        case 7:
            return a.octets("lldpRemPortId", "portId", r.portId(), "PortId", 255, 255, 1, 255);
        case 8:
            return a.octets("lldpRemPortDesc", "portDesc", r.portDesc(), "BoundedString255", 255,
                            255, 0, 255);
        case 9:
            return a.octets("lldpRemSysName", "sysName", r.sysName(), "BoundedString255", 255, 255,
                            0, 255);
        case 10:
            return a.octets("lldpRemSysDesc", "sysDesc", r.sysDesc(), "BoundedString255", 255, 255,
                            0, 255);
        case 11:
            return a.encoded("lldpRemSysCapSupported", "sysCapSupported",
                             "SystemCapabilitiesMapToAsnBits", 1024, [&](unsigned char* b, int n) {
                                 return SystemCapabilitiesMapToAsnBits(r.sysCapSupported(), b, n);
                             });
        default:
            return a.encoded("lldpRemSysCapEnabled", "sysCapEnabled",
                             "SystemCapabilitiesMapToAsnBits", 1024, [&](unsigned char* b, int n) {
                                 return SystemCapabilitiesMapToAsnBits(r.sysCapEnabled(), b, n);
                             });
        }
    }
};

struct lldpRemManAddrTableDef : RemoteTable {
    static constexpr const char* name = "lldpRemManAddrTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 4, 2};
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER},
                                              {"lldpRemManAddrSubtype", ASN_INTEGER},
                                              {"lldpRemManAddr", ASN_OCTET_STR}};
    static constexpr unsigned columns[] = {3, 4, 5};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemoteManagementAddress::Key";
    using Map = Root::RemoteManagementAddressMap;
    static const Map& rows(const Root& root) { return root.remoteManagementAddress(); }
    static Lldp::Snmp::RemoteManagementAddressKey keyFromHint(const HintValues& v) {
        return {portFromHint(v[1]), static_cast<int32_t>(v[2]),
                LldpMibFrame::manAddrFromHint(v[3], v)};
    }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemoteManagementAddressKey& key) {
        writeNeighbour(w, key);
        w.integer("manAddrSubtype", key.manAddrKey.subtype());
        w.octets("manAddr", key.manAddrKey.address(), 31);
    }
    static bool answer(ColumnAnswer& a, int column,
                       const Lldp::Snmp::RemoteManagementAddress& row) {
        const auto& m = row.rawValue;
        switch (column) {
        case 3:
            return a.integer("lldpRemManAddrIfSubtype", "ifSubtype", m.ifSubtype());
        case 4:
            return a.integer("lldpRemManAddrIfId", "ifId", m.ifId());
        default:
            return a.objectId("lldpRemManAddrOID", "oid", m.oid());
        }
    }
};

struct lldpRemUnknownTLVTableDef : RemoteTable {
    static constexpr const char* name = "lldpRemUnknownTLVTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 4, 3};
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER},
                                              {"lldpRemUnknownTLVType", ASN_INTEGER}};
    static constexpr unsigned columns[] = {2};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemoteUnknownTlv::Key";
    using Map = Root::RemoteUnknownTlvMap;
    static const Map& rows(const Root& root) { return root.remoteUnknownTlv(); }
    static Lldp::Snmp::RemoteUnknownTlvKey keyFromHint(const HintValues& v) {
        Lldp::UnknownTlv checkedType(v[3], {}); // refuses types outside 9..126
        return {portFromHint(v[1]), static_cast<int32_t>(v[2]), checkedType.type()};
    }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemoteUnknownTlvKey& key) {
        writeNeighbour(w, key);
        w.integer("type", static_cast<int32_t>(key.type));
    }
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::RemoteUnknownTlv& row) {
        return a.octets("lldpRemUnknownTLVInfo", "info", row.rawValue.info(), "BoundedString511",
                        511, 511, 0, 511);
    }
};

struct lldpRemOrgDefInfoTableDef : RemoteTable {
    static constexpr const char* name = "lldpRemOrgDefInfoTable";
    static constexpr oid tableOid[] = {1, 0, 8802, 1, 1, 2, 1, 4, 4};
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER},
                                              {"lldpRemOrgDefInfoOUI", ASN_PRIV_IMPLIED_OCTET_STR},
                                              {"lldpRemOrgDefInfoSubtype", ASN_INTEGER},
                                              {"lldpRemOrgDefInfoIndex", ASN_INTEGER}};
    static constexpr unsigned columns[] = {4};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemoteUnknownOrgDefTlv::Key";
    using Map = Root::RemoteUnknownOrgDefTlvMap;
    static const Map& rows(const Root& root) { return root.remoteUnknownOrgDefTlv(); }
    static Lldp::Snmp::RemoteUnknownOrgDefTlvKey keyFromHint(const HintValues& v) {
        return {portFromHint(v[1]), static_cast<int32_t>(v[2]), Lldp::Oui(v[3]), v[4],
                static_cast<int32_t>(v[5])};
    }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemoteUnknownOrgDefTlvKey& key) {
        writeNeighbour(w, key);
        w.oui("oui", key.oui);
        w.integer("subtype", static_cast<int32_t>(key.subtype));
        w.integer("unknownOrgDefTlvIndex", key.unknownOrgDefTlvIndex);
    }
    static bool answer(ColumnAnswer& a, int, const Lldp::Snmp::RemoteUnknownOrgDefTlv& row) {
        return a.octets("lldpRemOrgDefInfo", "orgDefInfo", row.rawValue.info(), "BoundedString507",
                        507, 507, 0, 507);
    }
};

} // namespace

LLDP_MIB_MODULE(LldpMIB, lldpMibModule, LLDP_MIB_TABLES, registerScalars)

namespace Snmp {

int lldpRemTablesChangeNotify(uint32_t inserts, uint32_t deletes, uint32_t drops, uint32_t ageouts,
                              Zim::String8 context) {
    auto snmpConfig = SnmpUtil::getSnmpConfig();
    ZIM_ASSERT(snmpConfig->notificationConfig("lldp") &&
               "the host declares the notification group lldp (notificationConfigIs)");
    ZIM_ASSERT(snmpConfig->notificationConfig("lldp")->notification("lldpRemTablesChange") &&
               "the host declares lldpRemTablesChange in the group lldp (notificationIs)");
    const auto status = snmpConfig->notificationStatus("lldp", "lldpRemTablesChange");
    if (!status.send) {
        TRACE(4, "lldpRemTablesChange notification not sent. notificationStatus returned "
                     << status.reason);
        return 0;
    }
    static const oid snmpTrapOid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
    static const oid lldpRemTablesChange[] = {1, 0, 8802, 1, 1, 2, 0, 0, 1};
    netsnmp_variable_list* vars = nullptr;
    snmp_varlist_add_variable(&vars, snmpTrapOid, std::size(snmpTrapOid), ASN_OBJECT_ID,
                              lldpRemTablesChange, sizeof lldpRemTablesChange);
    const uint32_t counters[] = {inserts, deletes, drops, ageouts};
    for (oid counter = 2; counter <= 5; ++counter) {
        const oid name[] = {1, 0, 8802, 1, 1, 2, 1, 2, counter, 0};
        unsigned char buffer[1024];
        int n =
            S32ToAsnIntegerF(static_cast<int32_t>(counters[counter - 2]), buffer, sizeof buffer);
        snmp_varlist_add_variable(&vars, name, std::size(name), ASN_GAUGE, buffer,
                                  static_cast<size_t>(n));
    }
    TRACE(4, "Adding lldpRemTablesChange notification to trap queue");
    TrapManager::instance()->enqueueTrap(vars, context);
    return 0;
}

} // namespace Snmp
