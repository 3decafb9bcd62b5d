#include "state/StateApplier.h"

#include "state/StateKeys.h"

#include "platform/zim/Clock.h"
#include "platform/zim/Jotlog.h"
#include "platform/zim/Trace.h"

#include <algorithm>
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

} // namespace

namespace {

// Whether the neighbour sends what it sent before; its stated change time does not count. The
// fresh document is the one that may be changed for a moment: the applied one may share its
// strings with the served entities, and is only read.
bool sendsTheSame(NeighborDoc& fresh, const NeighborDoc& applied) {
    const auto stated = std::exchange(fresh.lastChangeTime, applied.lastChangeTime);
    const bool same = fresh == applied;
    fresh.lastChangeTime = stated;
    return same;
}

} // namespace

StatePlan StateApplier::plan(StateDoc next) const {
    StatePlan plan;
    // Every interface that goes (or changes its port number) leaves before any arrives, so two
    // interfaces may swap their port numbers.
    for (const auto& [name, old] : applied_.interfaces) {
        auto it = next.interfaces.find(name);
        if (it == next.interfaces.end() || it->second.portNum != old.portNum) {
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
    for (InterfaceDoc* intf : byPort) {
        StatePlan::Interface change;
        change.name = intf->name;
        auto old = applied_.interfaces.find(intf->name);
        if (old == applied_.interfaces.end() || old->second.portNum != intf->portNum) {
            change.isNew = true;
            plan.neighboursToApply_ += intf->neighbors.size();
            plan.interfaces_.push_back(std::move(change));
            continue;
        }
        const InterfaceDoc& was = old->second;
        change.ownChanged = !(was.config == intf->config && was.local == intf->local &&
                              was.statistics == intf->statistics);
        for (const auto& [index, neighbor] : was.neighbors) {
            if (!intf->neighbors.contains(index)) {
                change.gone.push_back(index);
            }
        }
        // What did not change leaves the new document here; the applied one keeps its own.
        auto& neighbors = intf->neighbors;
        for (auto it = neighbors.begin(); it != neighbors.end();) {
            auto before = was.neighbors.find(it->first);
            if (before == was.neighbors.end()) {
                change.added.push_back(it->first);
            } else if (!sendsTheSame(it->second, before->second)) {
                change.changed.push_back(it->first);
            } else if (it->second.lastChangeTime &&
                       it->second.lastChangeTime != before->second.lastChangeTime) {
                change.retimed.push_back(it->first);
            } else {
                it = neighbors.erase(it);
                continue;
            }
            ++it;
        }
        const size_t count = change.gone.size() + change.added.size() + change.changed.size() +
                             change.retimed.size();
        if (count > 0 || change.ownChanged) {
            plan.neighboursToApply_ += count;
            plan.interfaces_.push_back(std::move(change));
        }
    }
    plan.next_ = std::move(next);
    return plan;
}

ApplySummary StateApplier::apply(StatePlan plan) {
    Jotlog::BlockTimer timer("StateApplier::apply");
    const double now = Zim::now();
    ApplySummary summary;
    StateDoc& next = plan.next_;

    configIs(next.config);
    localSystemIs(next.localSystem);
    for (const auto& name : plan.leaving_) {
        const InterfaceDoc& old = applied_.interfaces.at(name);
        interfaceDel(old);
        ++summary.interfacesRemoved;
        summary.neighborsRemoved += old.neighbors.size();
    }
    for (const auto& change : plan.interfaces_) {
        const InterfaceDoc& intf = next.interfaces.at(change.name);
        if (change.isNew) {
            newInterface(intf, now);
            ++summary.interfacesAdded;
            summary.neighborsAdded += intf.neighbors.size();
        } else {
            planned(change, intf, now, summary);
        }
    }
    statusIs(next.status, summary, now);

    // The applied documents of the neighbours that did not change join the new document; what
    // is left of the old one (the neighbours that went or changed) goes with it.
    for (const auto& change : plan.interfaces_) {
        if (change.isNew) {
            continue;
        }
        auto& old = applied_.interfaces.at(change.name).neighbors;
        for (int32_t index : change.gone) {
            old.erase(index);
        }
    }
    for (auto& [name, intf] : next.interfaces) {
        auto old = applied_.interfaces.find(name);
        if (old == applied_.interfaces.end() || old->second.portNum != intf.portNum) {
            continue;
        }
        if (intf.neighbors.empty()) {
            intf.neighbors.swap(old->second.neighbors);
        } else {
            intf.neighbors.merge(old->second.neighbors);
        }
    }
    applied_ = std::move(next);
    JOTLOG("state applied: interfaces +"
           << summary.interfacesAdded << " -" << summary.interfacesRemoved << ", neighbours +"
           << summary.neighborsAdded << " -" << summary.neighborsRemoved << " ~"
           << summary.neighborsChanged);
    return summary;
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
                           wanted->second.portNum == old->second.portNum;
        if (old != applied_.interfaces.end() && !keeps) {
            interfaceDel(old->second);
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
        if (old != applied_.interfaces.end()) {
            interfaceIs(old->second, *intf, now, summary);
            old->second = *intf;
            continue;
        }
        newInterface(*intf, now);
        ++summary.interfacesAdded;
        summary.neighborsAdded += intf->neighbors.size();
        applied_.interfaces.emplace(intf->name, *intf);
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
// the interface only once all three are there.
void StateApplier::newInterface(const InterfaceDoc& doc, double now) {
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
    for (const auto& [index, neighbor] : doc.neighbors) {
        e.portStatus->remoteSystemIs(index, newRemoteSystem(neighbor, *e.portStatus, now));
    }
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

void StateApplier::interfaceIs(const InterfaceDoc& old, const InterfaceDoc& next, double now,
                               ApplySummary& summary) {
    interfaceOwnIs(next);
    auto& ps = *interfaces_.at(next.name).portStatus;
    for (const auto& [index, was] : old.neighbors) {
        if (next.neighbors.contains(index)) {
            continue;
        }
        ZTRACE(trace(), 2, "Removing neighbour " << index << " of " << text(next.name));
        ps.remoteSystemDel(index);
        ++summary.neighborsRemoved;
    }
    for (const auto& [index, neighbor] : next.neighbors) {
        auto was = old.neighbors.find(index);
        const Zim::Ptr<Lldp::RemoteSystem>* existing = ps.remoteSystem().find(index);
        if (was == old.neighbors.end() || !existing) {
            ZTRACE(trace(), 2, "Adding neighbour " << index << " of " << text(next.name));
            ps.remoteSystemIs(index, newRemoteSystem(neighbor, ps, now));
            ++summary.neighborsAdded;
            continue;
        }
        // The same neighbour keeps its entity: only what it sends differently is set.
        bool changed = !was->second.sameAdvertisement(neighbor);
        auto& rs = **existing;
        if (changed) {
            ZTRACE(trace(), 2, "Updating neighbour " << index << " of " << text(next.name));
            fillRemoteSystem(rs, neighbor);
            ++summary.neighborsChanged;
        }
        // A time the file gives is set again only when it changed there: a time still to come,
        // taken as the moment of applying, must not move on every reload.
        const bool newTime =
            neighbor.lastChangeTime && neighbor.lastChangeTime != was->second.lastChangeTime;
        if (changed || newTime) {
            rs.lastChangeTimeIs(notAfter(neighbor.lastChangeTime, now));
        }
    }
}

void StateApplier::interfaceOwnIs(const InterfaceDoc& next) {
    const auto& e = interfaces_.at(next.name);
    portConfigKeys().apply(next.config, *e.portConfig);
    localPortKeys().apply(next.local, *e.localPort);
    fillLocalPortMembers(*e.localPort, *e.portConfig, next.local);
    statisticsKeys().apply(next.statistics, *e.portStatus);
}

void StateApplier::planned(const StatePlan::Interface& change, const InterfaceDoc& next, double now,
                           ApplySummary& summary) {
    if (change.ownChanged) {
        interfaceOwnIs(next);
    }
    auto& ps = *interfaces_.at(next.name).portStatus;
    for (int32_t index : change.gone) {
        ZTRACE(trace(), 2, "Removing neighbour " << index << " of " << text(next.name));
        ps.remoteSystemDel(index);
        ++summary.neighborsRemoved;
    }
    for (int32_t index : change.added) {
        ZTRACE(trace(), 2, "Adding neighbour " << index << " of " << text(next.name));
        ps.remoteSystemIs(index, newRemoteSystem(next.neighbors.at(index), ps, now));
        ++summary.neighborsAdded;
    }
    for (int32_t index : change.changed) {
        const NeighborDoc& neighbor = next.neighbors.at(index);
        const Zim::Ptr<Lldp::RemoteSystem>* existing = ps.remoteSystem().find(index);
        if (!existing) {
            ps.remoteSystemIs(index, newRemoteSystem(neighbor, ps, now));
            ++summary.neighborsAdded;
            continue;
        }
        // The same neighbour keeps its entity: only what it sends differently is set.
        ZTRACE(trace(), 2, "Updating neighbour " << index << " of " << text(next.name));
        fillRemoteSystem(**existing, neighbor);
        (*existing)->lastChangeTimeIs(notAfter(neighbor.lastChangeTime, now));
        ++summary.neighborsChanged;
    }
    for (int32_t index : change.retimed) {
        if (const auto* existing = ps.remoteSystem().find(index)) {
            (*existing)->lastChangeTimeIs(notAfter(next.neighbors.at(index).lastChangeTime, now));
        }
    }
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
