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

// What a document changes against the applied one: which interfaces go, and for each interface
// with anything to apply, which neighbours go, arrive, change what they send or only their
// stated change time. Made by StateApplier::plan() off the event loop; the documents of
// neighbours that did not change are dropped from it there, so the loop applies only the
// difference and keeps the documents it already holds for the rest.
class StatePlan {
public:
    size_t neighboursToApply() const noexcept { return neighboursToApply_; }

private:
    friend class StateApplier;
    struct Interface {
        Ifkit::IntfId name;
        bool isNew = false;      // arrives, or changes its port number
        bool ownChanged = false; // its configuration, local port or statistics differ
        std::vector<int32_t> gone;
        std::vector<int32_t> added;
        std::vector<int32_t> changed; // sends something else
        std::vector<int32_t> retimed; // sends the same; only its stated change time differs
    };
    StateDoc next_;
    std::vector<Ifkit::IntfId> leaving_; // interfaces that go or change their port number
    std::vector<Interface> interfaces_;  // those with anything to apply, in port-number order
    size_t neighboursToApply_ = 0;
};

class StateApplier {
public:
    explicit StateApplier(const StateStore& store) : store_(store) {}
    StateApplier(const StateApplier&) = delete;
    StateApplier& operator=(const StateApplier&) = delete;

    // Null until the mirror exists; interfaces applied before are handed over by the caller.
    void glueIs(MirrorGlue* glue) noexcept { glue_ = glue; }

    // Compares next with the applied document. Reads only the applier's own document, never the
    // served entities, so it may run on another thread as long as nothing is applied meanwhile.
    StatePlan plan(StateDoc next) const;
    // Applies what the plan found, and makes its document the applied one.
    ApplySummary apply(StatePlan plan);
    ApplySummary stateIs(StateDoc next) { return apply(plan(std::move(next))); }
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
    void interfaceOwnIs(const InterfaceDoc& next);
    void planned(const StatePlan::Interface& change, const InterfaceDoc& next, double now,
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
