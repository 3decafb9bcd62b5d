#include "state/StateApplier.h"

#include "state/StateKeys.h"

#include "platform/zim/Clock.h"
#include "platform/zim/Jotlog.h"
#include "platform/zim/Trace.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace LldpSnmpd {

namespace {

const Zim::TraceHandle& trace() {
    static const Zim::TraceHandle handle("LldpSnmpd");
    return handle;
}

std::string text(const Ifkit::IntfId& intf) {
    return Zim::printable(intf.name());
}

// Members that the document no longer has go first; then every member is set, which changes
// (and tells the reactors of) only those whose value differs.
template <class Current, class Wanted, class Set, class Del>
void syncMembers(const Current& current, const Wanted& wanted, Set&& set, Del&& del) {
    for (const auto& key : current.keys()) {
        if (!wanted.contains(key)) {
            del(key);
        }
    }
    for (const auto& [key, value] : wanted) {
        set(key, value);
    }
}

// A TLV's value is set before its received flag rises, and kept until after the flag fell, so
// that whoever sees the flag set sees the value that came with it.
template <class T, class SetValue, class SetFlag>
void optionalTlv(const std::optional<T>& value, SetValue&& setValue, SetFlag&& setFlag) {
    if (value) {
        setValue(*value);
        setFlag(true);
    } else {
        setFlag(false);
        setValue(T{});
    }
}

// The MED TLVs of a neighbour. The capabilities' received flag rises last and falls first, so
// that whoever sees it set (the topology notification) sees the device class that came with it.
void fillRemoteMed(Lldp::RemoteSystem& rs, const std::optional<NeighborMedDoc>& doc) {
    static const NeighborMedDoc none;
    const NeighborMedDoc& med = doc ? *doc : none;
    if (!doc) {
        rs.medCapabilitiesTlvReceivedIs(false);
    }
    rs.medCapSupportedIs(med.capSupported);
    rs.medCapCurrentIs(med.capCurrent);
    rs.medDeviceClassIs(med.deviceClass);
    optionalTlv(
        med.inventory, [&](const Lldp::MedInventory& v) { rs.medInventoryIs(v); },
        [&](bool f) { rs.medInventoryTlvReceivedIs(f); });
    optionalTlv(
        med.power, [&](const Lldp::MedExtendedPower& v) { rs.medPowerIs(v); },
        [&](bool f) { rs.medPowerTlvReceivedIs(f); });
    syncMembers(
        rs.mediaPolicy(), med.policies,
        [&](const auto& k, const auto& v) { rs.mediaPolicyIs(k, v); },
        [&](const auto& k) { rs.mediaPolicyDel(k); });
    syncMembers(
        rs.location(), med.locations, [&](const auto& k, const auto& v) { rs.locationIs(k, v); },
        [&](const auto& k) { rs.locationDel(k); });
    if (doc) {
        rs.medCapabilitiesTlvReceivedIs(true);
    }
}

// The port's 802.1 members and LLDP-MED policies and locations; the MED port configuration
// is stated with the port's other MED objects but belongs to the port configuration.
void fillLocalPortMembers(Lldp::LocalPort& lp, Lldp::PortConfig& pc, const LocalPortDoc& doc) {
    pc.medCapSupportedIs(doc.med.capSupported);
    pc.medTlvsTxEnableIs(doc.med.tlvsTxEnable);
    pc.medNotifEnableIs(doc.med.notifEnable);
    lp.macPhyIs(doc.macPhy);
    lp.powerIs(doc.power);
    lp.medPsePortPowerIs(doc.med.psePower);
    syncMembers(
        lp.portAndProtocolVlan(), doc.protoVlans,
        [&](const auto& k, const auto& v) { lp.portAndProtocolVlanIs(k, v); },
        [&](const auto& k) { lp.portAndProtocolVlanDel(k); });
    syncMembers(
        lp.vlanName(), doc.vlanNames, [&](const auto& k, const auto& v) { lp.vlanNameIs(k, v); },
        [&](const auto& k) { lp.vlanNameDel(k); });
    syncMembers(
        lp.protocolIdentityInfo(), doc.protocols,
        [&](const auto& k, const auto& v) { lp.protocolIdentityInfoIs(k, v); },
        [&](const auto& k) { lp.protocolIdentityInfoDel(k); });
    syncMembers(
        lp.mediaPolicy(), doc.med.policies,
        [&](const auto& k, const auto& v) { lp.mediaPolicyIs(k, v); },
        [&](const auto& k) { lp.mediaPolicyDel(k); });
    syncMembers(
        lp.location(), doc.med.locations,
        [&](const auto& k, const auto& v) { lp.locationIs(k, v); },
        [&](const auto& k) { lp.locationDel(k); });
}

void fillRemoteSystem(Lldp::RemoteSystem& rs, const NeighborDoc& doc) {
    neighborKeys().apply(doc, rs);

    optionalTlv(
        doc.portVlanId, [&](int32_t v) { rs.portVlanIdIs(v); },
        [&](bool f) { rs.portVlanIdTlvReceivedIs(f); });
    optionalTlv(
        doc.macPhy, [&](const Lldp::MacPhyConfigStatusInfo& v) { rs.macPhyIs(v); },
        [&](bool f) { rs.macPhyConfigStatusTlvReceivedIs(f); });
    optionalTlv(
        doc.power, [&](const Lldp::PowerViaMdiInfo& v) { rs.powerIs(v); },
        [&](bool f) { rs.powerViaMdiTlvReceivedIs(f); });
    optionalTlv(
        doc.linkAgg,
        [&](const LinkAggDoc& v) {
            rs.linkAggStatusIs(v.status);
            rs.linkAggPortIdIs(v.portId);
        },
        [&](bool f) { rs.linkAggregationTlvReceivedIs(f); });
    optionalTlv(
        doc.maxFrameSize, [&](int32_t v) { rs.maxFrameSizeIs(v); },
        [&](bool f) { rs.maximumFrameSizeTlvReceivedIs(f); });

    syncMembers(
        rs.managementAddress(), doc.managementAddresses,
        [&](const auto& k, const auto& v) { rs.managementAddressIs(k, v); },
        [&](const auto& k) { rs.managementAddressDel(k); });
    syncMembers(
        rs.unknownTlv(), doc.unknownTlvs,
        [&](const auto& k, const auto& v) { rs.unknownTlvIs(k, v); },
        [&](const auto& k) { rs.unknownTlvDel(k); });
    syncMembers(
        rs.unknownOrgDefTlv(), doc.orgDefTlvs,
        [&](const auto& k, const auto& v) { rs.unknownOrgDefTlvIs(k, v); },
        [&](const auto& k) { rs.unknownOrgDefTlvDel(k); });
    syncMembers(
        rs.portAndProtocolVlan(), doc.protoVlans,
        [&](const auto& k, const auto& v) { rs.portAndProtocolVlanIs(k, v); },
        [&](const auto& k) { rs.portAndProtocolVlanDel(k); });
    syncMembers(
        rs.vlanName(), doc.vlanNames, [&](const auto& k, const auto& v) { rs.vlanNameIs(k, v); },
        [&](const auto& k) { rs.vlanNameDel(k); });
    syncMembers(
        rs.protocolIdentityInfo(), doc.protocols,
        [&](const auto& k, const auto& v) { rs.protocolIdentityInfoIs(k, v); },
        [&](const auto& k) { rs.protocolIdentityInfoDel(k); });
    fillRemoteMed(rs, doc.med);
}

// A change time from the file, or now when it gives none. A time still to come (a writer's clock
// ahead, a typing error) is taken as now: nothing can have changed after the moment it is seen,
// and a TimeStamp is never later than the uptime it is read against.
double notAfter(const std::optional<double>& time, double now) {
    return time ? std::min(*time, now) : now;
}

// Hears whether an update changed anything a neighbour sends; its change time does not count.
// Every hook but onLastChangeTime says so.
class AnyChange : public Lldp::RemoteSystem::Notifiee {
public:
    bool changed = false;
    void onChassisIdSubtype() override { changed = true; }
    void onChassisId() override { changed = true; }
    void onPortIdSubtype() override { changed = true; }
    void onPortId() override { changed = true; }
    void onPortDesc() override { changed = true; }
    void onSysName() override { changed = true; }
    void onSysDesc() override { changed = true; }
    void onSysCapSupported() override { changed = true; }
    void onSysCapEnabled() override { changed = true; }
    void onPortVlanId() override { changed = true; }
    void onMacPhy() override { changed = true; }
    void onPower() override { changed = true; }
    void onLinkAggStatus() override { changed = true; }
    void onLinkAggPortId() override { changed = true; }
    void onMaxFrameSize() override { changed = true; }
    void onPortVlanIdTlvReceived() override { changed = true; }
    void onMacPhyConfigStatusTlvReceived() override { changed = true; }
    void onPowerViaMdiTlvReceived() override { changed = true; }
    void onLinkAggregationTlvReceived() override { changed = true; }
    void onMaximumFrameSizeTlvReceived() override { changed = true; }
    void onMedCapSupported() override { changed = true; }
    void onMedCapCurrent() override { changed = true; }
    void onMedDeviceClass() override { changed = true; }
    void onMedInventory() override { changed = true; }
    void onMedPower() override { changed = true; }
    void onMedCapabilitiesTlvReceived() override { changed = true; }
    void onMedInventoryTlvReceived() override { changed = true; }
    void onMedPowerTlvReceived() override { changed = true; }
    void onManagementAddress(const Lldp::ManagementAddress::Key&) override { changed = true; }
    void onUnknownTlv(const uint32_t&) override { changed = true; }
    void onUnknownOrgDefTlv(const Lldp::UnknownOrgDefTlv::Key&) override { changed = true; }
    void onPortAndProtocolVlan(const Bridging::VlanIdOrNone&) override { changed = true; }
    void onVlanName(const Bridging::VlanId&) override { changed = true; }
    void onProtocolIdentityInfo(const int32_t&) override { changed = true; }
    void onMediaPolicy(const Lldp::PolicyAppType&) override { changed = true; }
    void onLocation(const int32_t&) override { changed = true; }
};

// Whether the document states no change time, or the one applied.
bool sameTime(const NeighborPrint& applied, const NeighborDoc& doc) {
    return !doc.lastChangeTime || doc.lastChangeTime == applied.lastChangeTime;
}

NeighborPrint printOf(const NeighborDoc& doc) {
    return {doc.index, doc.fingerprint, doc.lastChangeTime};
}

// The interface's own objects, without its neighbours.
InterfaceDoc ownOf(const InterfaceDoc& doc) {
    return {doc.name, doc.portNum, doc.config, doc.local, doc.statistics, {}, {}};
}

bool sameOwn(const InterfaceDoc& a, const InterfaceDoc& b) {
    return a.config == b.config && a.local == b.local && a.statistics == b.statistics;
}

} // namespace

bool StateApplier::isApplied(const Ifkit::IntfId& intf, Interface::EthPortId port,
                             const NeighborDoc& doc) const {
    auto it = applied_.interfaces.find(intf);
    if (it == applied_.interfaces.end() || it->second.own.portNum != port) {
        return false;
    }
    const NeighborPrint* print = it->second.neighbor(doc.index);
    return print && doc.fingerprint != 0 && doc.fingerprint == print->fingerprint &&
           sameTime(*print, doc);
}

const NeighborPrint* AppliedState::Interface::neighbor(int32_t index) const {
    auto it = std::lower_bound(neighbors.begin(), neighbors.end(), index,
                               [](const NeighborPrint& p, int32_t i) { return p.index < i; });
    return it != neighbors.end() && it->index == index ? &*it : nullptr;
}

StatePlan StateApplier::plan(StateDoc next) const {
    StatePlan plan;
    // Every interface that goes (or changes its port number) leaves before any arrives, so two
    // interfaces may swap their port numbers.
    for (const auto& [name, old] : applied_.interfaces) {
        auto it = next.interfaces.find(name);
        if (it == next.interfaces.end() || it->second.portNum != old.own.portNum) {
            plan.leaving_.push_back(name);
        }
    }
    std::vector<InterfaceDoc*> byPort;
    byPort.reserve(next.interfaces.size());
    for (auto& [name, intf] : next.interfaces) {
        byPort.push_back(&intf);
    }
    std::sort(byPort.begin(), byPort.end(),
              [](const InterfaceDoc* a, const InterfaceDoc* b) { return a->portNum < b->portNum; });
    for (InterfaceDoc* each : byPort) {
        InterfaceDoc& intf = *each;
        StatePlan::Interface change;
        change.name = intf.name;
        auto old = applied_.interfaces.find(intf.name);
        if (old == applied_.interfaces.end() || old->second.own.portNum != intf.portNum) {
            change.isNew = true;
            for (const auto& [index, neighbor] : intf.neighbors) {
                change.added.push_back(index);
            }
            plan.neighboursToApply_ += intf.neighbors.size();
            plan.interfaces_.push_back(std::move(change));
            continue;
        }
        const AppliedState::Interface& was = old->second;
        change.ownChanged = !sameOwn(was.own, intf);
        for (const auto& print : was.neighbors) {
            if (!intf.neighbors.contains(print.index) &&
                !std::binary_search(intf.unchanged.begin(), intf.unchanged.end(), print.index)) {
                change.gone.push_back(print.index);
            }
        }
        // What did not change leaves the new document here.
        auto& neighbors = intf.neighbors;
        for (auto it = neighbors.begin(); it != neighbors.end();) {
            const NeighborDoc& n = it->second;
            const NeighborPrint* before = was.neighbor(it->first);
            if (!before) {
                change.added.push_back(it->first);
            } else if (n.fingerprint == 0 || n.fingerprint != before->fingerprint) {
                change.changed.push_back(it->first);
            } else if (!sameTime(*before, n)) {
                change.retimed.push_back(it->first);
            } else {
                it = neighbors.erase(it);
                continue;
            }
            ++it;
        }
        if (change.size() > 0 || change.ownChanged) {
            plan.neighboursToApply_ += change.size();
            plan.interfaces_.push_back(std::move(change));
        }
    }
    plan.next_ = std::move(next);
    return plan;
}

ApplySummary StateApplier::apply(StatePlan plan) {
    begin(std::move(plan));
    for (;;) {
        if (auto summary = step(std::numeric_limits<size_t>::max())) {
            return *summary;
        }
    }
}

void StateApplier::begin(StatePlan plan) {
    Pending& p = pending_.emplace(Pending{std::move(plan), Zim::now(), {}, 0, 0});
    const StateDoc& next = p.plan.next_;
    configIs(next.config);
    localSystemIs(next.localSystem);
    applied_.config = next.config;
    applied_.localSystem = next.localSystem;
    for (const auto& name : p.plan.leaving_) {
        auto old = applied_.interfaces.find(name);
        interfaceDel(old->second.own);
        ++p.summary.interfacesRemoved;
        p.summary.neighborsRemoved += old->second.neighbors.size();
        applied_.interfaces.erase(old);
    }
}

std::optional<ApplySummary> StateApplier::step(size_t neighbours) {
    Jotlog::BlockTimer timer("StateApplier::step");
    Pending& p = *pending_;
    const StateDoc& next = p.plan.next_;
    size_t budget = neighbours;
    while (p.interface < p.plan.interfaces_.size()) {
        const auto& change = p.plan.interfaces_[p.interface];
        const InterfaceDoc& intf = next.interfaces.at(change.name);
        if (p.done == 0) {
            if (change.isNew) {
                newInterface(intf);
                ++p.summary.interfacesAdded;
            } else if (change.ownChanged) {
                interfaceOwnIs(intf);
            }
        }
        // Each neighbour is applied whole within one step, so a request answered between two
        // steps sees every neighbour either as it was or as it is now.
        for (; p.done < change.size() && budget > 0; ++p.done, --budget) {
            plannedNeighbor(change, p.done, intf, p);
        }
        if (p.done < change.size()) {
            return std::nullopt;
        }
        interfaceApplied(intf, change.gone);
        ++p.interface;
        p.done = 0;
    }
    statusIs(next.status, p.summary, p.now);
    applied_.status = next.status;
    const ApplySummary summary = p.summary;
    pending_.reset();
    JOTLOG("state applied: interfaces +"
           << summary.interfacesAdded << " -" << summary.interfacesRemoved << ", neighbours +"
           << summary.neighborsAdded << " -" << summary.neighborsRemoved << " ~"
           << summary.neighborsChanged);
    return summary;
}

void StateApplier::plannedNeighbor(const StatePlan::Interface& change, size_t i,
                                   const InterfaceDoc& next, Pending& p) {
    auto& ps = *interfaces_.at(next.name).portStatus;
    if (i < change.gone.size()) {
        const int32_t index = change.gone[i];
        ZTRACE(trace(), 2, "Removing neighbour " << index << " of " << text(next.name));
        ps.remoteSystemDel(index);
        ++p.summary.neighborsRemoved;
        return;
    }
    i -= change.gone.size();
    const std::vector<int32_t>* lists[] = {&change.added, &change.changed, &change.retimed};
    for (const auto* list : lists) {
        if (i < list->size()) {
            const int32_t index = (*list)[i];
            const NeighborPrint* was = nullptr;
            if (auto it = applied_.interfaces.find(next.name); it != applied_.interfaces.end()) {
                was = it->second.neighbor(index);
            }
            neighborIs(ps, next.neighbors.at(index), was, p.now, p.summary);
            return;
        }
        i -= list->size();
    }
}

void StateApplier::neighborIs(Lldp::PortStatus& ps, const NeighborDoc& doc,
                              const NeighborPrint* was, double now, ApplySummary& summary) {
    const Zim::Ptr<Lldp::RemoteSystem>* existing = ps.remoteSystem().find(doc.index);
    if (!existing) {
        ZTRACE(trace(), 2, "Adding neighbour " << doc.index << " of " << Zim::printable(ps.name()));
        ps.remoteSystemIs(doc.index, newRemoteSystem(doc, ps, now));
        ++summary.neighborsAdded;
        return;
    }
    // The same neighbour keeps its entity: only what it sends differently is set, and it has
    // changed when its entity says so.
    auto& rs = **existing;
    AnyChange change;
    change.notifierIs(*existing);
    fillRemoteSystem(rs, doc);
    change.notifierIs(nullptr);
    if (change.changed) {
        ZTRACE(trace(), 2,
               "Updated neighbour " << doc.index << " of " << Zim::printable(ps.name()));
        ++summary.neighborsChanged;
    }
    // A time the file gives is set again only when it changed there: a time still to come,
    // taken as the moment of applying, must not move on every reload.
    const bool newTime = doc.lastChangeTime && (!was || doc.lastChangeTime != was->lastChangeTime);
    if (change.changed || newTime) {
        rs.lastChangeTimeIs(notAfter(doc.lastChangeTime, now));
    }
}

void StateApplier::interfaceApplied(const InterfaceDoc& next, const std::vector<int32_t>& gone) {
    auto& applied = applied_.interfaces[next.name];
    applied.own = ownOf(next);
    auto& prints = applied.neighbors;
    std::erase_if(prints, [&](const NeighborPrint& p) {
        return next.neighbors.contains(p.index) ||
               std::find(gone.begin(), gone.end(), p.index) != gone.end();
    });
    for (const auto& [index, neighbor] : next.neighbors) {
        prints.push_back(printOf(neighbor));
    }
    std::sort(prints.begin(), prints.end(),
              [](const NeighborPrint& a, const NeighborPrint& b) { return a.index < b.index; });
    prints.shrink_to_fit();
}

ApplySummary StateApplier::interfacesIs(const StateDoc& next,
                                        const std::vector<Ifkit::IntfId>& changed) {
    Jotlog::BlockTimer timer("StateApplier::interfacesIs");
    const double now = Zim::now();
    ApplySummary summary;

    configIs(next.config);
    localSystemIs(next.localSystem);
    applied_.config = next.config;
    applied_.localSystem = next.localSystem;

    std::vector<const InterfaceDoc*> arriving;
    for (const auto& name : changed) {
        auto wanted = next.interfaces.find(name);
        auto old = applied_.interfaces.find(name);
        const bool keeps = wanted != next.interfaces.end() && old != applied_.interfaces.end() &&
                           wanted->second.portNum == old->second.own.portNum;
        if (old != applied_.interfaces.end() && !keeps) {
            interfaceDel(old->second.own);
            ++summary.interfacesRemoved;
            summary.neighborsRemoved += old->second.neighbors.size();
            applied_.interfaces.erase(old);
        }
        if (wanted != next.interfaces.end()) {
            arriving.push_back(&wanted->second);
        }
    }
    std::sort(arriving.begin(), arriving.end(),
              [](const InterfaceDoc* a, const InterfaceDoc* b) { return a->portNum < b->portNum; });
    for (const InterfaceDoc* intf : arriving) {
        auto old = applied_.interfaces.find(intf->name);
        std::vector<int32_t> gone;
        if (old == applied_.interfaces.end()) {
            newInterface(*intf);
            ++summary.interfacesAdded;
        } else {
            interfaceOwnIs(*intf);
            for (const auto& print : old->second.neighbors) {
                if (!intf->neighbors.contains(print.index)) {
                    gone.push_back(print.index);
                }
            }
        }
        auto& ps = *interfaces_.at(intf->name).portStatus;
        for (int32_t index : gone) {
            ZTRACE(trace(), 2, "Removing neighbour " << index << " of " << text(intf->name));
            ps.remoteSystemDel(index);
            ++summary.neighborsRemoved;
        }
        const AppliedState::Interface* was =
            old == applied_.interfaces.end() ? nullptr : &old->second;
        for (const auto& [index, neighbor] : intf->neighbors) {
            neighborIs(ps, neighbor, was ? was->neighbor(index) : nullptr, now, summary);
        }
        interfaceApplied(*intf, gone);
    }

    statusIs(next.status, summary, now);
    applied_.status = next.status;
    return summary;
}

std::vector<InterfaceEntities> StateApplier::interfacesByPort() const {
    std::vector<InterfaceEntities> out;
    out.reserve(interfaces_.size());
    for (const auto& [name, entities] : interfaces_) {
        out.push_back(entities);
    }
    std::sort(out.begin(), out.end(), [](const InterfaceEntities& a, const InterfaceEntities& b) {
        return a.port < b.port;
    });
    return out;
}

void StateApplier::configIs(const ConfigDoc& doc) {
    configKeys().apply(doc, *store_.config());
}

void StateApplier::localSystemIs(const LocalSystemDoc& doc) {
    localSystemKeys().apply(doc, *store_.localSystem());
    auto& local = *store_.localSystem();
    local.medDeviceClassIs(doc.med.deviceClass);
    local.medInventoryIs(doc.med.inventory);
    local.medPowerIs(doc.med.power);
    localManagementAddressesIs(doc);
}

// Every prioritised address must be a management address (the mirror depends on it): a
// priority goes before its address, an address comes before its priority. An address whose
// value changes is taken out and put back, since the mirror keeps an address row's value from
// the row's creation.
void StateApplier::localManagementAddressesIs(const LocalSystemDoc& doc) {
    auto& local = *store_.localSystem();
    const auto& old = applied_.localSystem.managementAddresses;
    const auto& wanted = doc.managementAddresses;

    for (const auto& [key, was] : old) {
        if (was.priority == Lldp::ManAddrPriority()) {
            continue;
        }
        auto it = wanted.find(key);
        bool kept = it != wanted.end() && it->second.priority == was.priority &&
                    it->second.address == was.address;
        if (!kept) {
            local.managementAddressPrioDel(was.priority);
        }
    }
    for (const auto& [key, was] : old) {
        auto it = wanted.find(key);
        if (it == wanted.end() || !(it->second.address == was.address)) {
            ZTRACE(trace(), 2, "Removing local management address " << Lldp::valueToStrep(key));
            local.managementAddressDel(key);
        }
    }
    for (const auto& [key, addr] : wanted) {
        local.managementAddressIs(key, addr.address);
    }
    for (const auto& [key, addr] : wanted) {
        if (addr.priority != Lldp::ManAddrPriority()) {
            local.managementAddressPrioIs(addr.priority, key);
        }
    }
}

Zim::Ptr<Lldp::RemoteSystem>
StateApplier::newRemoteSystem(const NeighborDoc& doc, Lldp::PortStatus& parent, double now) const {
    auto rs = Zim::makePtr<Lldp::RemoteSystem>(Zim::String8(std::to_string(doc.index)), doc.index);
    rs->parentIs(&parent);
    fillRemoteSystem(*rs, doc);
    rs->lastChangeTimeIs(notAfter(doc.lastChangeTime, now));
    return rs;
}

// The entities are complete before they join the agent's collections, and the mirror hears of
// the interface only once all three are there; its neighbours arrive after it.
void StateApplier::newInterface(const InterfaceDoc& doc) {
    ZTRACE(trace(), 2, "Adding interface " << text(doc.name) << " port " << doc.portNum.value());
    InterfaceEntities e{doc.name, doc.portNum, Zim::makePtr<Lldp::PortConfig>(doc.name.name()),
                        Zim::makePtr<Lldp::PortStatus>(doc.name.name()),
                        Zim::makePtr<Lldp::LocalPort>(doc.name.name())};
    e.portConfig->parentIs(store_.config().get());
    e.portStatus->parentIs(store_.status().get());
    e.localPort->parentIs(store_.localSystem().get());
    portConfigKeys().apply(doc.config, *e.portConfig);
    localPortKeys().apply(doc.local, *e.localPort);
    fillLocalPortMembers(*e.localPort, *e.portConfig, doc.local);
    statisticsKeys().apply(doc.statistics, *e.portStatus);
    store_.config()->portConfigIs(doc.name, e.portConfig);
    store_.status()->portStatusIs(doc.name, e.portStatus);
    store_.localSystem()->localPortIs(doc.name, e.localPort);
    interfaces_[doc.name] = e;
    if (glue_) {
        glue_->interfaceIs(doc.name, doc.portNum, e.portConfig, e.portStatus, e.localPort);
    }
}

void StateApplier::interfaceDel(const InterfaceDoc& doc) {
    ZTRACE(trace(), 2, "Removing interface " << text(doc.name) << " port " << doc.portNum.value());
    if (glue_) {
        glue_->interfaceDel(doc.name, doc.portNum);
    }
    store_.localSystem()->localPortDel(doc.name);
    if (glue_) {
        glue_->onLocalPort(doc.name, doc.portNum);
    }
    store_.config()->portConfigDel(doc.name);
    store_.status()->portStatusDel(doc.name);
    interfaces_.erase(doc.name);
}

void StateApplier::interfaceOwnIs(const InterfaceDoc& next) {
    const auto& e = interfaces_.at(next.name);
    portConfigKeys().apply(next.config, *e.portConfig);
    localPortKeys().apply(next.local, *e.localPort);
    fillLocalPortMembers(*e.localPort, *e.portConfig, next.local);
    statisticsKeys().apply(next.statistics, *e.portStatus);
}

// The counters move before the change time, so that whoever reacts to the time (the
// remote-tables notification) reads counters that already include the change.
void StateApplier::statusIs(const StatusDoc& doc, const ApplySummary& summary, double now) {
    auto& status = *store_.status();
    status.remTablesInsertsIs(doc.remTablesInserts.value_or(
        status.remTablesInserts() + static_cast<uint32_t>(summary.neighborsAdded)));
    status.remTablesDeletesIs(doc.remTablesDeletes.value_or(
        status.remTablesDeletes() + static_cast<uint32_t>(summary.neighborsRemoved)));
    status.remTablesDropsIs(doc.remTablesDrops.value_or(status.remTablesDrops()));
    status.remTablesAgeoutsIs(doc.remTablesAgeouts.value_or(status.remTablesAgeouts()));
    if (doc.remTablesLastChangeTime) {
        if (doc.remTablesLastChangeTime != applied_.status.remTablesLastChangeTime) {
            status.remTablesLastChangeTimeIs(notAfter(doc.remTablesLastChangeTime, now));
        }
    } else if (summary.remoteTablesChanged()) {
        status.remTablesLastChangeTimeIs(now);
    }
}

} // namespace LldpSnmpd
