// LLDP-EXT-MED-MIB's configuration and local scalars, and the lldpXMedTopologyChangeDetected
// notification.
#include "mib/LldpXMedScalars.h"

#include "mib/ScalarAnswer.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/snmp/Config.h"
#include "platform/snmp/Conversions.h"
#include "platform/snmp/HandlerRegistration.h"
#include "platform/snmp/SnmpUtil.h"
#include "platform/snmp/TrapManager.h"
#include "platform/zim/Assert.h"

#include <iostream>
#include <iterator>
#include <string>

LldpMibFrame::Module& lldpXMedModule() {
    static LldpMibFrame::Module module("LldpXMedMIB");
    return module;
}

namespace {

#define TRACE(level, expr) ZTRACE(lldpXMedModule().trace(), level, expr)

// Each scalar reads one attribute of the agent's configuration or local system at request
// time.
enum class Holder { config, localSystem };

struct MedScalar {
    const char* name;
    oid suffix[2]; // below lldpXMedObjects, 1.0.8802.1.1.2.1.5.4795.1
    Holder holder;
    const char* attribute;
    u_char asnType;
    int mode;
    int maxLength; // octet strings only; -1 for the others
    int (*read)(const Zim::Entity& entity, unsigned char* buffer, int capacity);
};

const char* pathOf(Holder holder) {
    return holder == Holder::config ? "Statestore/l2discovery/lldp/config"
                                    : "Statestore/l2discovery/lldp/localSystem";
}

const Lldp::LocalSystem& localSystem(const Zim::Entity& e) {
    return static_cast<const Lldp::LocalSystem&>(e);
}

template <auto field> int readInventory(const Zim::Entity& e, unsigned char* b, int n) {
    return Snmp::StringToAsnOctetStringF(localSystem(e).medInventory().*field, b, n);
}

template <auto field> int readPower(const Zim::Entity& e, unsigned char* b, int n) {
    const auto value = localSystem(e).medPower().*field;
    if constexpr (std::is_same_v<std::remove_cvref_t<decltype(value)>, uint32_t>) {
        return Snmp::U32ToAsnUnsignedF(value, b, n);
    } else {
        return Snmp::S32ToAsnIntegerF(value, b, n);
    }
}

int readDeviceClass(const Zim::Entity& e, unsigned char* b, int n) {
    return Snmp::S32ToAsnIntegerF(localSystem(e).medDeviceClass(), b, n);
}

int readFastStartRepeatCount(const Zim::Entity& e, unsigned char* b, int n) {
    return Snmp::U32ToAsnUnsignedF(static_cast<const Lldp::Config&>(e).medFastStartRepeatCount(), b,
                                   n);
}

using Lldp::MedInventory;
using Lldp::MedLocalPower;
constexpr int rw = HANDLER_CAN_RWRITE;
constexpr int ro = HANDLER_CAN_RONLY;

// In registration order.
// clang-format off
const MedScalar scalars[] = {
    {"lldpXMedLocDeviceClass", {1, 1}, Holder::localSystem, "medDeviceClass", ASN_INTEGER, ro, -1, readDeviceClass},
    {"lldpXMedFastStartRepeatCount", {1, 3}, Holder::config, "medFastStartRepeatCount", ASN_UNSIGNED, rw, -1, readFastStartRepeatCount},
    {"lldpXMedLocHardwareRev", {2, 2}, Holder::localSystem, "medInventory.hardwareRev", ASN_OCTET_STR, ro, 32, readInventory<&MedInventory::hardwareRev>},
    {"lldpXMedLocFirmwareRev", {2, 3}, Holder::localSystem, "medInventory.firmwareRev", ASN_OCTET_STR, ro, 32, readInventory<&MedInventory::firmwareRev>},
    {"lldpXMedLocSoftwareRev", {2, 4}, Holder::localSystem, "medInventory.softwareRev", ASN_OCTET_STR, ro, 32, readInventory<&MedInventory::softwareRev>},
    {"lldpXMedLocSerialNum", {2, 5}, Holder::localSystem, "medInventory.serialNum", ASN_OCTET_STR, ro, 32, readInventory<&MedInventory::serialNum>},
    {"lldpXMedLocMfgName", {2, 6}, Holder::localSystem, "medInventory.mfgName", ASN_OCTET_STR, ro, 32, readInventory<&MedInventory::mfgName>},
    {"lldpXMedLocModelName", {2, 7}, Holder::localSystem, "medInventory.modelName", ASN_OCTET_STR, ro, 32, readInventory<&MedInventory::modelName>},
    {"lldpXMedLocAssetID", {2, 8}, Holder::localSystem, "medInventory.assetId", ASN_OCTET_STR, ro, 32, readInventory<&MedInventory::assetId>},
    {"lldpXMedLocXPoEDeviceType", {2, 10}, Holder::localSystem, "medPower.deviceType", ASN_INTEGER, ro, -1, readPower<&MedLocalPower::deviceType>},
    {"lldpXMedLocXPoEPSEPowerSource", {2, 12}, Holder::localSystem, "medPower.pseSource", ASN_INTEGER, ro, -1, readPower<&MedLocalPower::pseSource>},
    {"lldpXMedLocXPoEPDPowerReq", {2, 13}, Holder::localSystem, "medPower.pdPowerReq", ASN_GAUGE, ro, -1, readPower<&MedLocalPower::pdPowerReq>},
    {"lldpXMedLocXPoEPDPowerSource", {2, 14}, Holder::localSystem, "medPower.pdSource", ASN_INTEGER, ro, -1, readPower<&MedLocalPower::pdSource>},
    {"lldpXMedLocXPoEPDPowerPriority", {2, 15}, Holder::localSystem, "medPower.pdPriority", ASN_INTEGER, ro, -1, readPower<&MedLocalPower::pdPriority>},
};
// clang-format on

constexpr size_t scalarOidLength = 12;

void scalarOid(const MedScalar& s, oid (&name)[scalarOidLength]) {
    const oid prefix[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1};
    std::copy(std::begin(prefix), std::end(prefix), name);
    name[10] = s.suffix[0];
    name[11] = s.suffix[1];
}

int handleScalar(const MedScalar& s, netsnmp_handler_registration* reginfo,
                 netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    const char* path = pathOf(s.holder);
    // An inventory string is at most 32 bytes; the local system may hold a longer one.
    const LldpMibFrame::ScalarValue value{
        s.name, path, s.attribute, "read", s.asnType, s.maxLength < 0 ? -1 : 0, s.maxLength};
    int status = SNMP_ERR_NOERROR;
    if (!LldpMibFrame::scalarGetToAnswer(lldpXMedModule().trace(), value, reqinfo, requests,
                                         status))
        return status;
    const auto* entity = static_cast<const Zim::Entity*>(reginfo->my_reg_void);
    TRACE(2, "handle_" << s.name << " - reading " << path << "->" << s.attribute << "()");
    unsigned char buffer[1024];
    const int n = s.read(*entity, buffer, sizeof buffer);
    return LldpMibFrame::answerScalar(lldpXMedModule().trace(), value, buffer, n, reqinfo,
                                      requests);
}

} // namespace

#define LLDP_XMED_SCALAR_HANDLER(scalar, position)                                                 \
    int handle_##scalar(netsnmp_mib_handler*, netsnmp_handler_registration* reginfo,               \
                        netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {     \
        return handleScalar(scalars[position], reginfo, reqinfo, requests);                        \
    }

LLDP_XMED_SCALAR_HANDLER(lldpXMedLocDeviceClass, 0)
LLDP_XMED_SCALAR_HANDLER(lldpXMedFastStartRepeatCount, 1)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocHardwareRev, 2)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocFirmwareRev, 3)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocSoftwareRev, 4)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocSerialNum, 5)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocMfgName, 6)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocModelName, 7)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocAssetID, 8)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocXPoEDeviceType, 9)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocXPoEPSEPowerSource, 10)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocXPoEPDPowerReq, 11)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocXPoEPDPowerSource, 12)
LLDP_XMED_SCALAR_HANDLER(lldpXMedLocXPoEPDPowerPriority, 13)

void registerLldpXMedScalars(Zim::String8 context) {
    static Netsnmp_Node_Handler* const handlers[] = {
        handle_lldpXMedLocDeviceClass,
        handle_lldpXMedFastStartRepeatCount,
        handle_lldpXMedLocHardwareRev,
        handle_lldpXMedLocFirmwareRev,
        handle_lldpXMedLocSoftwareRev,
        handle_lldpXMedLocSerialNum,
        handle_lldpXMedLocMfgName,
        handle_lldpXMedLocModelName,
        handle_lldpXMedLocAssetID,
        handle_lldpXMedLocXPoEDeviceType,
        handle_lldpXMedLocXPoEPSEPowerSource,
        handle_lldpXMedLocXPoEPDPowerReq,
        handle_lldpXMedLocXPoEPDPowerSource,
        handle_lldpXMedLocXPoEPDPowerPriority,
    };
    static_assert(std::size(handlers) == std::size(scalars));
    if (!context.empty()) {
        TRACE(2, "init_LldpXMedMIB in context " << LldpMibFrame::quoted(context)
                                                << ": statestorePathWithContext not specified; "
                                                << "skipping the scalars");
        return;
    }
    auto& module = lldpXMedModule();
    for (size_t i = 0; i < std::size(scalars); ++i) {
        const MedScalar& s = scalars[i];
        oid name[scalarOidLength];
        scalarOid(s, name);
        TRACE(1, "init_LldpXMedMIB initializing oid "
                     << LldpMibFrame::oidText(name, scalarOidLength) << " in context "
                     << LldpMibFrame::quoted(context));
        const std::string registrationName = std::string(s.name) + "_" + context.str();
        netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
            registrationName.c_str(), handlers[i], name, scalarOidLength, s.mode);
        ZIM_ASSERT_NAMED(reg, (std::string("reg_") + s.name).c_str());
        module.contextHandlerRegistrations[context].push_back(reg);
        const char* path = pathOf(s.holder);
        auto entity = SnmpUtil::getEntityRelative(path);
        if (!entity) {
            std::cerr << "Can not getEntityRelative( " << path << " ) for scalar " << s.name
                      << ". Is this path correct?" << std::endl;
        }
        ZIM_ASSERT_NAMED(entity, (std::string("e_") + s.name).c_str());
        const bool typed = s.holder == Holder::config
                               ? dynamic_cast<const Lldp::Config*>(entity.get()) != nullptr
                               : dynamic_cast<const Lldp::LocalSystem*>(entity.get()) != nullptr;
        ZIM_ASSERT_NAMED(typed, (std::string("ptr_") + s.name).c_str());
        // The registration holds no reference: the entity lives as long as the host's mount.
        reg->my_reg_void = entity.get();
        netsnmp_register_scalar(reg);
    }
}

namespace Snmp {

// snmpTrapOID.0, then the neighbour's chassis id subtype, chassis id and device class, each
// under the neighbour's own instance (time mark, local port, index).
int lldpXMedTopologyChangeDetectedNotify(const Lldp::RemoteSystem& neighbour,
                                         Interface::EthPortId port, int32_t index,
                                         Zim::String8 context) {
    auto snmpConfig = SnmpUtil::getSnmpConfig();
    ZIM_ASSERT(snmpConfig->notificationConfig("lldp") &&
               "the host declares the notification group lldp (notificationConfigIs)");
    ZIM_ASSERT(
        snmpConfig->notificationConfig("lldp")->notification("lldpXMedTopologyChangeDetected") &&
        "the host declares lldpXMedTopologyChangeDetected in the group lldp (notificationIs)");
    const auto status = snmpConfig->notificationStatus("lldp", "lldpXMedTopologyChangeDetected");
    if (!status.send) {
        TRACE(4, "lldpXMedTopologyChangeDetected notification not sent. notificationStatus "
                 "returned "
                     << status.reason);
        return 0;
    }
    static const oid snmpTrapOid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
    static const oid topologyChange[] = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 0, 1};
    const oid timeMark = SecondsToTimeTicks(NowSecondsToUptimeSeconds(neighbour.lastChangeTime()));
    const oid instance[] = {timeMark, port.value(), static_cast<oid>(static_cast<uint32_t>(index))};
    auto name = [&](std::initializer_list<oid> column) {
        std::vector<oid> full(column);
        full.insert(full.end(), std::begin(instance), std::end(instance));
        return full;
    };
    netsnmp_variable_list* vars = nullptr;
    snmp_varlist_add_variable(&vars, snmpTrapOid, std::size(snmpTrapOid), ASN_OBJECT_ID,
                              topologyChange, sizeof topologyChange);
    unsigned char buffer[1024];
    auto add = [&](const std::vector<oid>& oidName, u_char type, int length) {
        snmp_varlist_add_variable(&vars, oidName.data(), oidName.size(), type, buffer,
                                  static_cast<size_t>(length));
    };
    add(name({1, 0, 8802, 1, 1, 2, 1, 4, 1, 1, 4}), ASN_INTEGER,
        S32ToAsnIntegerF(neighbour.chassisIdSubtype(), buffer, sizeof buffer));
    add(name({1, 0, 8802, 1, 1, 2, 1, 4, 1, 1, 5}), ASN_OCTET_STR,
        StringToAsnOctetStringF(neighbour.chassisId(), buffer, 255));
    add(name({1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 1, 1, 3}), ASN_INTEGER,
        S32ToAsnIntegerF(neighbour.medDeviceClass(), buffer, sizeof buffer));
    TRACE(4, "Adding lldpXMedTopologyChangeDetected notification to trap queue");
    TrapManager::instance()->enqueueTrap(vars, context);
    return 0;
}

} // namespace Snmp
