#pragma once
// lldpd's view, read through liblldpctl and put in the state document's terms. Where lldpd has
// no attribute for an object, the rule used instead is written here and in
// docs/lldpd-source.md.
#include "state/LldpdClient.h"
#include "state/StateDoc.h"

#include <string>
#include <tuple>
#include <vector>

namespace LldpSnmpd {

// What lldpd says about itself: its timers, the local system, and the switches that decide
// which optional TLVs it sends.
struct LldpdGlobal {
    ConfigDoc config;
    LocalSystemDoc localSystem;
    bool capabilitiesAdvertised = true;
    bool managementAdvertised = true;
    bool receiveOnly = false;
};

// The identity of a neighbour on its port (its MSAP): while it stays the same, the neighbour
// is the same one and keeps its index.
using NeighborIdentity = std::tuple<int32_t, Zim::String8, int32_t, Zim::String8>;
NeighborIdentity identityOf(const NeighborDoc& neighbor);

// One port as lldpd reports it. Its neighbours carry no index yet (the source numbers them);
// its statistics are lldpd's own counters, which restart with lldpd.
struct LldpdPort {
    std::string name;
    long ifIndex = 0;
    PortConfigDoc config;
    LocalPortDoc local;
    StatisticsDoc statistics;
    std::vector<NeighborDoc> neighbors;
};

LldpdGlobal readGlobal(const LldpdConnection& connection);

// The interfaces lldpd runs on, by name; each atom is what readPort() takes.
std::vector<std::pair<std::string, Atom>> readInterfaces(const LldpdConnection& connection);

// Throws LldpdError when lldpd cannot send the port (for example when its neighbours do not
// fit in one control message).
LldpdPort readPort(const LldpdConnection& connection, lldpctl_atom_t* interface,
                   const LldpdGlobal& global);

} // namespace LldpSnmpd
