#include "state/LldpdMed.h"

#include "state/LldpdClient.h"

#include "platform/lldp/LocationEncoding.h"

#include <lldp-const.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <string>

namespace LldpSnmpd {

namespace {

// LocationSubtype of the MIB: coordinateBased 2, civicAddress 3, elin 4.
constexpr int32_t locationCoordinates = 2;
constexpr int32_t locationCivic = 3;
constexpr int32_t locationElin = 4;
// The civic address's "what": lldpd does not keep it; the network element is what a
// neighbour's own location usually describes.
constexpr int32_t civicWhatNetworkElement = 1;
// The MIB's power priority and source start at unknown(1).
constexpr int32_t unknownPriorityOrSource = 1;
// lldpd gives the power value in milliwatts; the MIB counts tenths of a watt.
constexpr long milliwattsPerTenth = 100;

// "48.8566N", "2.3522E": degrees with a hemisphere letter; south and west negative.
double degrees(const std::string& text) {
    if (text.empty()) {
        return 0;
    }
    const double value = std::strtod(text.c_str(), nullptr);
    const char hemisphere = text.back();
    return hemisphere == 'S' || hemisphere == 'W' ? -value : value;
}

// lldpd names the altitude's unit ("m", "floor") and gives an undefined one as its number.
int32_t altitudeType(const std::string& unit) {
    if (unit.empty()) {
        return 0;
    }
    if (unit[0] == 'm') {
        return LLDP_MED_LOCATION_ALTITUDE_UNIT_METER;
    }
    if (unit[0] == 'f') {
        return LLDP_MED_LOCATION_ALTITUDE_UNIT_FLOOR;
    }
    return static_cast<int32_t>(std::strtol(unit.c_str(), nullptr, 10));
}

std::optional<Lldp::MedLocation> location(lldpctl_atom_t* atom) {
    switch (atomInt(atom, lldpctl_k_med_location_format)) {
    case LLDP_MED_LOCFORMAT_ELIN:
        return Lldp::MedLocation(locationElin,
                                 Lldp::encodeElin(atomString(atom, lldpctl_k_med_location_elin)));
    case LLDP_MED_LOCFORMAT_CIVIC: {
        Lldp::CivicAddress address;
        address.what = civicWhatNetworkElement;
        address.country = atomString(atom, lldpctl_k_med_location_country);
        Atom elements(lldpctl_atom_get(atom, lldpctl_k_med_location_ca_elements));
        forEachAtom(elements.get(), [&](lldpctl_atom_t* element) {
            address.elements.emplace_back(
                static_cast<uint32_t>(atomInt(element, lldpctl_k_med_civicaddress_type)),
                atomString(element, lldpctl_k_med_civicaddress_value));
        });
        return Lldp::MedLocation(locationCivic, Lldp::encodeCivicAddress(address));
    }
    case LLDP_MED_LOCFORMAT_COORD: {
        Lldp::Coordinates place;
        place.latitude = degrees(atomString(atom, lldpctl_k_med_location_latitude));
        place.longitude = degrees(atomString(atom, lldpctl_k_med_location_longitude));
        place.altitude =
            std::strtod(atomString(atom, lldpctl_k_med_location_altitude).c_str(), nullptr);
        place.altitudeType = altitudeType(atomString(atom, lldpctl_k_med_location_altitude_unit));
        place.datum = static_cast<int32_t>(atomInt(atom, lldpctl_k_med_location_geoid, 1));
        return Lldp::MedLocation(locationCoordinates, Lldp::encodeCoordinates(place));
    }
    default:
        return std::nullopt;
    }
}

std::optional<Lldp::MedExtendedPower> extendedPower(lldpctl_atom_t* port) {
    Atom power(lldpctl_atom_get(port, lldpctl_k_port_med_power));
    const long type = atomInt(power.get(), lldpctl_k_med_power_type);
    if (type != LLDP_MED_POW_TYPE_PSE && type != LLDP_MED_POW_TYPE_PD) {
        return std::nullopt;
    }
    Lldp::MedExtendedPower out;
    out.deviceType = type == LLDP_MED_POW_TYPE_PSE ? Lldp::MedExtendedPower::pseDevice
                                                   : Lldp::MedExtendedPower::pdDevice;
    // lldpd numbers a PD's sources after a PSE's; the MIB numbers each from fromPSE/primary 2.
    switch (atomInt(power.get(), lldpctl_k_med_power_source)) {
    case LLDP_MED_POW_SOURCE_PRIMARY:
    case LLDP_MED_POW_SOURCE_PSE:
        out.powerSource = 2;
        break;
    case LLDP_MED_POW_SOURCE_BACKUP:
    case LLDP_MED_POW_SOURCE_LOCAL:
        out.powerSource = 3;
        break;
    case LLDP_MED_POW_SOURCE_BOTH:
        out.powerSource = 4;
        break;
    default:
        out.powerSource = unknownPriorityOrSource;
        break;
    }
    const long priority = atomInt(power.get(), lldpctl_k_med_power_priority);
    out.powerPriority = priority >= LLDP_MED_POW_PRIO_CRITICAL && priority <= LLDP_MED_POW_PRIO_LOW
                            ? static_cast<int32_t>(priority) + 1
                            : unknownPriorityOrSource;
    const long milliwatts = atomInt(power.get(), lldpctl_k_med_power_val);
    out.powerValue = static_cast<uint32_t>(
        std::min((std::max(milliwatts, 0L) + milliwattsPerTenth / 2) / milliwattsPerTenth, 1023L));
    return out;
}

} // namespace

std::optional<Lldp::MedInventory> readMedInventory(lldpctl_atom_t* chassis) {
    Lldp::MedInventory out;
    out.hardwareRev = atomString(chassis, lldpctl_k_chassis_med_inventory_hw);
    out.firmwareRev = atomString(chassis, lldpctl_k_chassis_med_inventory_fw);
    out.softwareRev = atomString(chassis, lldpctl_k_chassis_med_inventory_sw);
    out.serialNum = atomString(chassis, lldpctl_k_chassis_med_inventory_sn);
    out.mfgName = atomString(chassis, lldpctl_k_chassis_med_inventory_manuf);
    out.modelName = atomString(chassis, lldpctl_k_chassis_med_inventory_model);
    out.assetId = atomString(chassis, lldpctl_k_chassis_med_inventory_asset);
    // lldpd keeps no "received" flag: no inventory string at all is taken as no inventory TLV.
    if (out == Lldp::MedInventory{}) {
        return std::nullopt;
    }
    return out;
}

std::map<Lldp::PolicyAppType, Lldp::MediaPolicy> readMedPolicies(lldpctl_atom_t* port) {
    std::map<Lldp::PolicyAppType, Lldp::MediaPolicy> out;
    Atom policies(lldpctl_atom_get(port, lldpctl_k_port_med_policies));
    forEachAtom(policies.get(), [&](lldpctl_atom_t* atom) {
        // lldpd lists one slot per application type, 0 where none came; its numbers are the
        // bit numbers of the MIB's PolicyAppType.
        const long type = atomInt(atom, lldpctl_k_med_policy_type);
        if (type < 1 || type > LLDP_MED_APPTYPE_LAST) {
            return;
        }
        Lldp::MediaPolicy policy;
        policy.appType = Lldp::PolicyAppType(static_cast<uint32_t>(type));
        policy.unknown = atomInt(atom, lldpctl_k_med_policy_unknown) != 0;
        policy.tagged = atomInt(atom, lldpctl_k_med_policy_tagged) != 0;
        policy.vlanId = static_cast<int32_t>(atomInt(atom, lldpctl_k_med_policy_vid));
        policy.priority = static_cast<int32_t>(atomInt(atom, lldpctl_k_med_policy_priority));
        policy.dscp = static_cast<int32_t>(atomInt(atom, lldpctl_k_med_policy_dscp));
        out[policy.appType] = policy;
    });
    return out;
}

std::map<int32_t, Lldp::MedLocation> readMedLocations(lldpctl_atom_t* port) {
    std::map<int32_t, Lldp::MedLocation> out;
    Atom locations(lldpctl_atom_get(port, lldpctl_k_port_med_locations));
    forEachAtom(locations.get(), [&](lldpctl_atom_t* atom) {
        // A location lldpd decoded but whose values the TLV cannot carry again (an ELIN of the
        // wrong length, a civic element over 255 bytes) is left out rather than served wrong.
        try {
            if (auto place = location(atom)) {
                out[place->subtype()] = *place;
            }
        } catch (const std::exception&) {
        }
    });
    return out;
}

std::optional<NeighborMedDoc> readNeighborMed(lldpctl_atom_t* chassis, lldpctl_atom_t* port) {
    const long deviceClass = atomInt(chassis, lldpctl_k_chassis_med_type);
    if (deviceClass < LLDP_MED_CLASS_I || deviceClass > LLDP_MED_NETWORK_DEVICE) {
        return std::nullopt;
    }
    NeighborMedDoc med;
    med.deviceClass = static_cast<int32_t>(deviceClass);
    // LLDP_MED_CAP_* is the TLV's bit order, which is the MIB's member order.
    med.capSupported.value =
        static_cast<uint8_t>(atomInt(chassis, lldpctl_k_chassis_med_cap) & 0x3F);
    med.policies = readMedPolicies(port);
    med.locations = readMedLocations(port);
    med.power = extendedPower(port);
    med.inventory = readMedInventory(chassis);
    // What the neighbour sent is what it has enabled: lldpd keeps no separate current set.
    auto& current = med.capCurrent.value;
    current = Lldp::MedCapabilities::capabilities;
    if (!med.policies.empty()) {
        current |= Lldp::MedCapabilities::networkPolicy;
    }
    if (!med.locations.empty()) {
        current |= Lldp::MedCapabilities::location;
    }
    if (med.power) {
        current |= med.power->deviceType == Lldp::MedExtendedPower::pseDevice
                       ? Lldp::MedCapabilities::extendedPse
                       : Lldp::MedCapabilities::extendedPd;
    }
    if (med.inventory) {
        current |= Lldp::MedCapabilities::inventory;
    }
    return med;
}

} // namespace LldpSnmpd
