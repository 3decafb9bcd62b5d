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
#include <optional>
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

// What the applier keeps of a neighbour it applied, to tell whether the next document changes
// it: the print of the JSON it was read from (0: none, compared on the entity instead) and the
// change time the document stated.
struct NeighborPrint {
    int32_t index = 0;
    uint64_t fingerprint = 0;
    std::optional<double> lastChangeTime;
};

// The applied state: every object but the neighbours, which are kept as prints.
struct AppliedState {
    struct Interface {
        InterfaceDoc own;                     // its neighbours left out
        std::vector<NeighborPrint> neighbors; // by index
        const NeighborPrint* neighbor(int32_t index) const;
    };
    ConfigDoc config;
    StatusDoc status;
    LocalSystemDoc localSystem;
    std::map<Ifkit::IntfId, Interface> interfaces;
};

// What a document changes against the applied one: which interfaces go, and for each interface
// with anything to apply, which neighbours go, arrive, may send something else (their print
// differs) or only state another change time. Made by StateApplier::plan() off the event loop;
// the documents of neighbours that did not change are dropped from it there, so the loop
// applies only the difference.
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
        std::vector<int32_t> changed; // may send something else
        std::vector<int32_t> retimed; // sends the same; only its stated change time differs
        size_t size() const noexcept {
            return gone.size() + added.size() + changed.size() + retimed.size();
        }
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

    // Compares next with the applied state. Reads only what the applier keeps, never the served
    // entities, so it may run on another thread as long as nothing is applied meanwhile.
    StatePlan plan(StateDoc next) const;
    // Whether that neighbour is applied just as doc has it (same print, no other stated change
    // time), so a reader may leave it out of the next document. Reads as plan() does.
    bool isApplied(const Ifkit::IntfId& intf, Interface::EthPortId port,
                   const NeighborDoc& doc) const;
    // Applies what the plan found at once, and makes its state the applied one.
    ApplySummary apply(StatePlan plan);
    ApplySummary stateIs(StateDoc next) { return apply(plan(std::move(next))); }

    // The same in slices, so that the loop answers between them: begin() applies the agent's
    // configuration and local system and takes away the interfaces that go; each step() then
    // applies up to `neighbours` more neighbours, each one whole, and returns the summary once
    // all is applied. Nothing else may be applied or planned until then.
    void begin(StatePlan plan);
    std::optional<ApplySummary> step(size_t neighbours);
    bool applying() const noexcept { return pending_.has_value(); }
    // Gives up the plan being applied (after a fault of ours): what was applied stays, and the
    // next plan compares against what is known to be applied.
    void abandon() noexcept { pending_.reset(); }

    // As stateIs, for a source that knows which interfaces changed: only those named are
    // compared (added, changed or removed as next has them); the others stay as applied.
    ApplySummary interfacesIs(const StateDoc& next, const std::vector<Ifkit::IntfId>& changed);

    // The interfaces now applied, in port-number order.
    std::vector<InterfaceEntities> interfacesByPort() const;
    const AppliedState& applied() const noexcept { return applied_; }

private:
    // A plan being applied, and how far.
    struct Pending {
        StatePlan plan;
        double now = 0;
        ApplySummary summary;
        size_t interface = 0; // in plan.interfaces_
        size_t done = 0;      // of that interface's neighbours
    };

    void configIs(const ConfigDoc& doc);
    void localSystemIs(const LocalSystemDoc& doc);
    void localManagementAddressesIs(const LocalSystemDoc& doc);
    void newInterface(const InterfaceDoc& doc);
    void interfaceDel(const InterfaceDoc& doc);
    void interfaceOwnIs(const InterfaceDoc& next);
    // The i-th neighbour of the change, in the order gone, added, changed, retimed.
    void plannedNeighbor(const StatePlan::Interface& change, size_t i, const InterfaceDoc& next,
                         Pending& pending);
    // Keeps the interface's own objects and its neighbours' prints as next has them.
    void interfaceApplied(const InterfaceDoc& next, const std::vector<int32_t>& gone);
    // Updates (or makes) the neighbour's entity; counts it as changed when it is.
    void neighborIs(Lldp::PortStatus& ps, const NeighborDoc& doc, const NeighborPrint* was,
                    double now, ApplySummary& summary);
    Zim::Ptr<Lldp::RemoteSystem> newRemoteSystem(const NeighborDoc& doc, Lldp::PortStatus& parent,
                                                 double now) const;
    void statusIs(const StatusDoc& doc, const ApplySummary& summary, double now);

    const StateStore& store_;
    MirrorGlue* glue_ = nullptr;
    AppliedState applied_;
    std::map<Ifkit::IntfId, InterfaceEntities> interfaces_;
    std::optional<Pending> pending_;
};

} // namespace LldpSnmpd
