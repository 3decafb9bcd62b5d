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

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
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

// A neighbour read as soon as the parser had its object, so that the parse tree never holds
// every neighbour at once: its document, or why it was refused, kept until the interface's
// list is read so that refusals come in the same order as from a whole tree.
struct StreamedNeighbor {
    size_t element = 0; // in the list
    int32_t index = 0;
    std::unique_ptr<NeighborDoc> doc; // none: refused, or applied as it is
    std::unique_ptr<StateError> refusal;
};
// By the JSON path of the interface's list ("$.interfaces[2].neighbors").
using StreamedNeighbors = std::unordered_map<std::string, std::vector<StreamedNeighbor>>;

// While one lives, the neighbour lists read on this thread come from `streamed` (a list found
// there replaces the tree's, which the parser left empty).
class StreamedNeighborsScope {
public:
    explicit StreamedNeighborsScope(StreamedNeighbors& streamed);
    ~StreamedNeighborsScope();
    StreamedNeighborsScope(const StreamedNeighborsScope&) = delete;
    StreamedNeighborsScope& operator=(const StreamedNeighborsScope&) = delete;

private:
    StreamedNeighbors* previous_;
};

// Every section, the document first, in the order the documentation shows them.
std::vector<const SectionInfo*> allSections();

} // namespace LldpSnmpd
