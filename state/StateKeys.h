#pragma once
// The keys of the state document, declared once per object. The parser reads with these
// sections, the applier sets the entities' attributes through them, and the documentation
// tables and the JSON Schema are generated from them. A new key is one line here (in
// StateKeys.cpp) plus its document member.
#include "state/KeySection.h"
#include "state/StateDoc.h"

#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/RemoteSystem.h"
#include "platform/lldp/Status.h"

#include <vector>

namespace LldpSnmpd {

const Section<ConfigDoc, Lldp::Config>& configKeys();
const Section<StatusDoc>& statusKeys();
const Section<LocalSystemDoc, Lldp::LocalSystem>& localSystemKeys();
const Section<PortConfigDoc, Lldp::PortConfig>& portConfigKeys();
const Section<LocalPortDoc, Lldp::LocalPort>& localPortKeys();
const Section<StatisticsDoc, Lldp::PortStatus>& statisticsKeys();
const Section<NeighborDoc, Lldp::RemoteSystem>& neighborKeys();
const Section<InterfaceDoc>& interfaceKeys();
const Section<StateDoc>& stateKeys();

// The IEEE 802.3 MAC/PHY and power-via-MDI objects, the same for a neighbour and the local
// port; name is how the documentation refers to the object.
Section<Lldp::MacPhyConfigStatusInfo> macPhySection(std::string name);
Section<Lldp::PowerViaMdiInfo> powerSection(std::string name);

// Every section, the document first, in the order the documentation shows them.
std::vector<const SectionInfo*> allSections();

} // namespace LldpSnmpd
