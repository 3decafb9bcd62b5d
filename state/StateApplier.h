#pragma once
// Brings the LLDP agent's entities to the state a StateDoc describes, changing only what differs,
// so that reactors (the mirror's state machines) hear of real changes only. Counters and change
// times that the document leaves out are kept as an LLDP agent keeps them.
#include "state/StateDoc.h"
#include "state/StateStore.h"

#include "platform/lldp/RemoteSystem.h"
#include "platform/lldp/Status.h"

#include <cstddef>
#include <map>
#include <vector>

namespace LldpSnmpd {

// What the mirror has to be told about interfaces, beyond what its reactors see.
class MirrorGlue {
public:
    virtual ~MirrorGlue() = default;
    // The interface's entities are in the agent's collections now.
    virtual void interfaceIs(const Ifkit::IntfId& intf, Interface::EthPortId port,
                             const Zim::Ptr<Lldp::PortConfig>& portConfig,
                             const Zim::Ptr<Lldp::PortStatus>& portStatus,
                             const Zim::Ptr<Lldp::LocalPort>& localPort) = 0;
    // The interface is about to go: its rows and state machine leave the mirror first.
    virtual void interfaceDel(const Ifkit::IntfId& intf, Interface::EthPortId port) = 0;
    // The interface joined or left the local system's local ports.
    virtual void onLocalPort(const Ifkit::IntfId& intf, Interface::EthPortId port) = 0;
};

// One interface's agent entities.
struct InterfaceEntities {
    Ifkit::IntfId name;
    Interface::EthPortId port;
    Zim::Ptr<Lldp::PortConfig> portConfig;
    Zim::Ptr<Lldp::PortStatus> portStatus;
    Zim::Ptr<Lldp::LocalPort> localPort;
};

struct ApplySummary {
    size_t interfacesAdded = 0;
    size_t interfacesRemoved = 0;
    size_t neighborsAdded = 0;
    size_t neighborsRemoved = 0;
    size_t neighborsChanged = 0;
    bool remoteTablesChanged() const noexcept {
        return neighborsAdded + neighborsRemoved + neighborsChanged > 0;
    }
};

class StateApplier {
public:
    explicit StateApplier(const StateStore& store) : store_(store) {}
    StateApplier(const StateApplier&) = delete;
    StateApplier& operator=(const StateApplier&) = delete;

    // Null until the mirror exists; interfaces applied before are handed over by the caller.
    void glueIs(MirrorGlue* glue) noexcept { glue_ = glue; }

    ApplySummary stateIs(const StateDoc& next);
    // As stateIs, for a source that knows which interfaces changed: only those named are
    // compared (added, changed or removed as next has them); the others stay as applied.
    ApplySummary interfacesIs(const StateDoc& next, const std::vector<Ifkit::IntfId>& changed);

    // The interfaces now applied, in port-number order.
    std::vector<InterfaceEntities> interfacesByPort() const;
    const StateDoc& applied() const noexcept { return applied_; }

private:
    void configIs(const ConfigDoc& doc);
    void localSystemIs(const LocalSystemDoc& doc);
    void localManagementAddressesIs(const LocalSystemDoc& doc);
    void newInterface(const InterfaceDoc& doc, double now);
    void interfaceDel(const InterfaceDoc& doc);
    void interfaceIs(const InterfaceDoc& old, const InterfaceDoc& next, double now,
                     ApplySummary& summary);
    Zim::Ptr<Lldp::RemoteSystem> newRemoteSystem(const NeighborDoc& doc, Lldp::PortStatus& parent,
                                                 double now) const;
    void statusIs(const StatusDoc& doc, const ApplySummary& summary, double now);

    const StateStore& store_;
    MirrorGlue* glue_ = nullptr;
    StateDoc applied_;
    std::map<Ifkit::IntfId, InterfaceEntities> interfaces_;
};

} // namespace LldpSnmpd
