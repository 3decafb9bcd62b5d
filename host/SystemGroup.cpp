#include "host/SystemGroup.h"

#include "host/Log.h"

// net-snmp's headers go in this order: configuration, library, agent.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>

namespace LldpSnmpd {

namespace {

// What the configuration file set; empty optionals follow LLDP.
struct Configured {
    std::optional<std::string> sysName;
    std::optional<std::string> sysDescr;
    std::optional<int> sysServices;
};

Configured& configured() {
    static Configured values;
    return values;
}

// SnmpAdminString / DisplayString: at most 255 octets.
constexpr std::size_t maxDisplayString = 255;

std::optional<std::string> displayString(const char* line) {
    std::string text = line ? line : "";
    if (text == "\"\"") {
        return std::string();
    }
    if (text.size() > maxDisplayString) {
        config_perror(("longer than " + std::to_string(maxDisplayString) + " characters").c_str());
        return std::nullopt;
    }
    return text;
}

void parseSysName(const char*, char* line) {
    if (auto text = displayString(line)) {
        configured().sysName = std::move(text);
    }
}

void parseSysDescr(const char*, char* line) {
    if (auto text = displayString(line)) {
        configured().sysDescr = std::move(text);
    }
}

void parseSysServices(const char*, char* line) {
    char* end = nullptr;
    const long value = std::strtol(line ? line : "", &end, 0);
    if (!line || end == line || *end != '\0' || value < 0 || value > 127) {
        config_perror(("sysservices takes a number from 0 to 127, not '" +
                       std::string(line ? line : "") + "'")
                          .c_str());
        return;
    }
    configured().sysServices = static_cast<int>(value);
}

// Before the configuration is read again, every object follows LLDP.
void releaseDirectives() {
    configured() = {};
}

std::string hostName() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0) {
        return {};
    }
    return name.data();
}

// The host's own description, in net-snmp's default form.
std::string hostDescription() {
    struct utsname u {};
    if (uname(&u) != 0) {
        return {};
    }
    return std::string(u.sysname) + " " + u.nodename + " " + u.release + " " + u.version + " " +
           u.machine;
}

enum class Object { sysDescr = 1, sysName = 5, sysServices = 7 };

struct Registered {
    Object object;
    netsnmp_handler_registration* registration = nullptr;
};

std::array<Registered, 3> registered = {
    {{Object::sysDescr}, {Object::sysName}, {Object::sysServices}}};

int handleObject(netsnmp_mib_handler* handler, netsnmp_handler_registration* reginfo,
                 netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    const auto* group = static_cast<const SystemGroup*>(handler->myvoid);
    const auto object = static_cast<Object>(reginfo->rootoid[7]); // 1.3.6.1.2.1.1.X
    for (auto* request = requests; request; request = request->next) {
        if (reqinfo->mode != MODE_GET) {
            netsnmp_request_set_error(request, SNMP_ERR_NOTWRITABLE);
            continue;
        }
        if (object == Object::sysServices) {
            const long value = group->sysServices();
            snmp_set_var_typed_value(request->requestvb, ASN_INTEGER, &value, sizeof value);
            continue;
        }
        const std::string text = object == Object::sysName ? group->sysName() : group->sysDescr();
        snmp_set_var_typed_value(request->requestvb, ASN_OCTET_STR, text.data(),
                                 std::min(text.size(), maxDisplayString));
    }
    return SNMP_ERR_NOERROR;
}

} // namespace

int sysServicesOf(const Lldp::SystemCapabilitiesMap& enabled) {
    constexpr int hostDefault = (1 << 3) | (1 << 6);
    // Capability bit to layers (bit L-1 for layer L).
    constexpr std::array<int, 8> layers = {
        0,                    // other
        1 << 0,               // repeater: physical
        1 << 1,               // bridge: datalink
        1 << 1,               // WLAN access point: datalink
        1 << 2,               // router: internet
        (1 << 3) | (1 << 6),  // telephone: end-to-end, applications
        1 << 1,               // DOCSIS cable device: datalink
        (1 << 3) | (1 << 6)}; // station only: end-to-end, applications
    int services = 0;
    for (std::size_t bit = 0; bit < layers.size(); ++bit) {
        if (enabled.value & (1u << bit)) {
            services |= layers[bit];
        }
    }
    return services != 0 ? services : hostDefault;
}

void SystemGroup::takeOverDirectives() {
    snmpd_register_config_handler("sysname", parseSysName, releaseDirectives,
                                  "NAME (default: the LLDP local system's name)");
    snmpd_register_config_handler("sysdescr", parseSysDescr, releaseDirectives,
                                  "DESCRIPTION (default: the LLDP local system's description)");
    snmpd_register_config_handler("sysservices", parseSysServices, releaseDirectives,
                                  "NUMBER (default: from the LLDP enabled capabilities)");
}

SystemGroup::SystemGroup(Zim::Ptr<Lldp::LocalSystem> localSystem)
    : localSystem_(std::move(localSystem)) {
    for (auto& r : registered) {
        // A scalar is registered at its object's OID; the scalar helper answers for ".0".
        oid name[] = {1, 3, 6, 1, 2, 1, 1, static_cast<oid>(r.object)};
        if (unregister_mib(name, OID_LENGTH(name)) != MIB_UNREGISTERED_OK) {
            logWarning("net-snmp's system group object ." + std::to_string(int(r.object)) +
                       " was not registered");
        }
        auto* handler = netsnmp_create_handler("lldpSystemGroup", handleObject);
        handler->myvoid = this;
        r.registration = netsnmp_handler_registration_create("lldpSystemGroup", handler, name,
                                                             OID_LENGTH(name), HANDLER_CAN_RONLY);
        if (netsnmp_register_scalar(r.registration) != MIB_REGISTERED_OK) {
            r.registration = nullptr; // freed by net-snmp on failure
            throw std::runtime_error("cannot register the system group object ." +
                                     std::to_string(int(r.object)));
        }
    }
}

SystemGroup::~SystemGroup() {
    for (auto& r : registered) {
        if (r.registration) {
            netsnmp_unregister_handler(r.registration);
            r.registration = nullptr;
        }
    }
}

std::string SystemGroup::sysName() const {
    if (configured().sysName) {
        return *configured().sysName;
    }
    const auto lldp = localSystem_->sysName().str();
    return lldp.empty() ? hostName() : lldp;
}

std::string SystemGroup::sysDescr() const {
    if (configured().sysDescr) {
        return *configured().sysDescr;
    }
    const auto lldp = localSystem_->sysDesc().str();
    return lldp.empty() ? hostDescription() : lldp;
}

int SystemGroup::sysServices() const {
    if (configured().sysServices) {
        return *configured().sysServices;
    }
    return sysServicesOf(localSystem_->sysCapEnabled());
}

} // namespace LldpSnmpd
