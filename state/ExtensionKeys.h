#pragma once
// The keys of the local IEEE 802.1/802.3 members of a port and of LLDP-MED (local system,
// local port, neighbour), declared as every other key is; StateKeys adds them to their
// objects.
#include "state/KeySection.h"
#include "state/StateDoc.h"

#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/RemoteSystem.h"

#include <vector>

namespace LldpSnmpd {

// lldpXMedFastStartRepeatCount: 1..10.
ValueType<uint32_t> fastStartRepeatCount();
// localSystem.med.
const Section<LocalSystemMedDoc>& localSystemMedKeys();
// Adds protoVlans, vlanNames, protocols, macPhy, power and med to the local port's keys.
void addLocalPortExtensionKeys(Section<LocalPortDoc, Lldp::LocalPort>& keys);
// Adds med to a neighbour's keys.
void addNeighborMedKey(Section<NeighborDoc, Lldp::RemoteSystem>& keys);
// The sections declared here, in the order the documentation shows them.
std::vector<const SectionInfo*> extensionSections();

} // namespace LldpSnmpd
