#pragma once
// LLDP-MED as lldpd decodes it, put in the state document's terms: a neighbour's capabilities,
// device class, network policies, locations, extended power and inventory, and the policies and
// locations configured on lldpd's own ports. lldpd keeps decoded values, not the TLVs: what
// the MIB wants as the TLV's bytes (locations) is encoded again from them.
#include "state/StateDoc.h"

#include <lldpctl.h>

#include <map>
#include <optional>

namespace LldpSnmpd {

// A neighbour's MED TLVs (chassis and port atoms of the neighbour); nullopt when it sent no
// MED capabilities TLV.
std::optional<NeighborMedDoc> readNeighborMed(lldpctl_atom_t* chassis, lldpctl_atom_t* port);

// The inventory strings of a chassis atom; nullopt when there are none.
std::optional<Lldp::MedInventory> readMedInventory(lldpctl_atom_t* chassis);

// The network policies and locations of a port atom, lldpd's own or a neighbour's.
std::map<Lldp::PolicyAppType, Lldp::MediaPolicy> readMedPolicies(lldpctl_atom_t* port);
std::map<int32_t, Lldp::MedLocation> readMedLocations(lldpctl_atom_t* port);

} // namespace LldpSnmpd
