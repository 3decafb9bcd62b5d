#include "state/LldpdSource.h"

#include "host/Log.h"

#include "platform/zim/Jotlog.h"
#include "platform/zim/Trace.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/library/fd_event_manager.h>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace LldpSnmpd {

namespace {

const Zim::TraceHandle& trace() {
    static const Zim::TraceHandle handle("LldpSnmpd");
    return handle;
}

struct timeval after(double seconds) {
    struct timeval t {};
    t.tv_sec = static_cast<time_t>(seconds);
    t.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
    return t;
}

double monotonicSeconds() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

size_t neighborCount(const StateDoc& doc) {
    size_t n = 0;
    for (const auto& [name, intf] : doc.interfaces) {
        n += intf.neighbors.size();
    }
    return n;
}

} // namespace

LldpdSource::LldpdSource(std::string socketPath, PortNumbers& numbers)
    : socketPath_(std::move(socketPath)), numbers_(numbers) {}

LldpdSource::~LldpdSource() {
    if (watch_) {
        unregister_readfd(watch_->fd());
    }
    cancelAlarm(reconnectAlarm_);
    cancelAlarm(refreshAlarm_);
    cancelAlarm(readGapAlarm_);
}

StateDoc LldpdSource::readOnce() {
    readAll();
    query_.reset();
    return doc_;
}

void LldpdSource::start(StateApplier& applier) {
    applier_ = &applier;
    connect();
}

void LldpdSource::refresh() {
    if (!watch_) {
        return;
    }
    try {
        readAll();
    } catch (const LldpdError& e) {
        lost(e.what());
    }
}

LldpdConnection& LldpdSource::query() {
    if (!query_) {
        query_ = std::make_unique<LldpdConnection>(socketPath_);
    }
    return *query_;
}

void LldpdSource::connect() {
    try {
        // Subscribe first, so that no change falls between the read and the subscription.
        auto watch = std::make_unique<LldpdConnection>(socketPath_);
        watch->watch([this](lldpctl_change_t, lldpctl_atom_t* interface, lldpctl_atom_t*) {
            dirty_.insert(atomString(interface, lldpctl_k_interface_name));
        });
        watch_ = std::move(watch);
        dirty_.clear();
        readAll();
    } catch (const LldpdError& e) {
        watch_.reset();
        query_.reset();
        reportProblem(e.what());
        scheduleReconnect();
        return;
    }
    register_readfd(watch_->fd(), onReadable, this);
    backoff_ = 0.5;
    logInfo(std::string(everConnected_ ? "lldpd is back at " : "following lldpd at ") +
            socketPath_ + ": " + std::to_string(doc_.interfaces.size()) + " interfaces, " +
            std::to_string(neighborCount(doc_)) + " neighbours");
    problem_.clear();
    everConnected_ = true;
    refreshAlarm_ = snmp_alarm_register_hr(after(refreshSeconds), SA_REPEAT, onRefreshAlarm, this);
}

void LldpdSource::lost(const std::string& why) {
    if (watch_) {
        unregister_readfd(watch_->fd());
    }
    watch_.reset();
    query_.reset();
    dirty_.clear();
    cancelAlarm(refreshAlarm_);
    cancelAlarm(readGapAlarm_);
    backoff_ = 0.5;
    reportProblem(why);
    scheduleReconnect();
}

void LldpdSource::reportProblem(const std::string& problem) {
    if (problem == problem_) {
        return;
    }
    problem_ = problem;
    logWarning(problem +
               (everConnected_ ? "; the last state lldpd gave stays served"
                               : "; no LLDP state to serve yet") +
               ", retrying until lldpd answers");
}

void LldpdSource::scheduleReconnect() {
    cancelAlarm(reconnectAlarm_);
    reconnectAlarm_ = snmp_alarm_register_hr(after(backoff_), 0, onReconnectAlarm, this);
    backoff_ = std::min(backoff_ * 2, maxBackoffSeconds);
}

void LldpdSource::cancelAlarm(unsigned& alarm) {
    if (alarm != 0) {
        snmp_alarm_unregister(alarm);
        alarm = 0;
    }
}

void LldpdSource::onWatchReadable() {
    try {
        watch_->onReadable();
        if (dirty_.empty() || readGapAlarm_ != 0) {
            return;
        }
        const double wait = lastReadEnd_ + readGapSeconds - monotonicSeconds();
        if (wait > 0) {
            readGapAlarm_ = snmp_alarm_register_hr(after(wait), 0, onReadGapAlarm, this);
            return;
        }
        readDirtyPorts();
    } catch (const LldpdError& e) {
        lost(e.what());
    }
}

void LldpdSource::readDirtyPorts() {
    // One read of each port sees the end state of every change announced so far.
    const auto names = std::move(dirty_);
    dirty_.clear();
    readPorts(names, false);
    lastReadEnd_ = monotonicSeconds();
}

void LldpdSource::onReadGapAlarm(unsigned int, void* self) {
    auto& source = *static_cast<LldpdSource*>(self);
    source.readGapAlarm_ = 0;
    if (!source.watch_ || source.dirty_.empty()) {
        return;
    }
    try {
        source.readDirtyPorts();
    } catch (const LldpdError& e) {
        source.lost(e.what());
    }
}

void LldpdSource::readAll() {
    global_ = readGlobal(query());
    readPorts({}, true);
}

void LldpdSource::readPorts(const std::set<std::string>& names, bool all) {
    const auto interfaces = readInterfaces(query());
    std::vector<Ifkit::IntfId> changed;
    std::set<std::string> present;
    for (const auto& [name, atom] : interfaces) {
        present.insert(name);
        // A port that failed is retried with the periodic refresh only: every event on it would
        // otherwise make lldpd serialize (and the loop wait for) the same oversized reply.
        if (!all && (!names.contains(name) || failingPorts_.contains(name))) {
            continue;
        }
        std::optional<LldpdPort> port;
        try {
            port = readPort(query(), atom.get(), global_);
        } catch (const LldpdError& e) {
            if (e.connectionLost()) {
                throw;
            }
            // The connection may be out of step after a failed reply: the next query opens
            // a fresh one.
            query_.reset();
            std::string& reported = failingPorts_[name];
            if (reported != e.what()) {
                reported = e.what();
                const auto it = doc_.interfaces.find(Ifkit::IntfId(Zim::String8(name)));
                const size_t kept = it == doc_.interfaces.end() ? 0 : it->second.neighbors.size();
                logWarning("cannot read port " + name + " from lldpd: " + e.what() + "; its last " +
                           std::to_string(kept) + " neighbours stay served, retrying every " +
                           std::to_string(static_cast<int>(refreshSeconds)) + " s");
            }
            continue;
        }
        if (failingPorts_.erase(name) > 0) {
            logInfo("port " + name + " reads from lldpd again: " +
                    std::to_string(port->neighbors.size()) + " neighbours");
        }
        if (auto doc = interfaceDoc(std::move(*port))) {
            doc_.interfaces[doc->name] = std::move(*doc);
            changed.emplace_back(Zim::String8(name));
        }
    }
    std::vector<std::string> gone;
    for (const auto& [id, intf] : doc_.interfaces) {
        const std::string name(id.name().data(), id.name().size());
        if (!present.contains(name) && (all || names.contains(name))) {
            gone.push_back(name);
        }
    }
    for (const auto& name : gone) {
        portGone(name);
        changed.emplace_back(Zim::String8(name));
    }
    apply(changed);
}

std::optional<InterfaceDoc> LldpdSource::interfaceDoc(LldpdPort&& port) {
    const auto number = numbers_.numberFor(port.name, port.ifIndex);
    if (!number) {
        if (announcedNumbers_.insert(port.name).second) {
            logWarning("interface " + port.name +
                       " is not served: all 4094 port numbers are taken");
        }
        return std::nullopt;
    }
    if (!number->isIfIndex && announcedNumbers_.insert(port.name).second) {
        logInfo("interface " + port.name + " (ifIndex " + std::to_string(port.ifIndex) +
                ") is served as port " + std::to_string(number->port.value()) +
                ": LLDP port numbers end at 4094" +
                (port.ifIndex <= Interface::EthPortId::max ? " and its ifIndex is taken" : ""));
    }

    InterfaceDoc doc;
    doc.name = Ifkit::IntfId(Zim::String8(port.name));
    doc.portNum = number->port;
    doc.config = port.config;
    doc.local = port.local;
    doc.statistics = port.statistics;

    // lldpd's ageout counter restarts with lldpd and goes with the port: only its increase
    // counts, and a counter that went down started again from 0.
    const uint32_t ageouts = port.statistics.rxAgeoutsTotal;
    const auto seen = ageoutsSeen_.find(port.name);
    const uint32_t before = seen == ageoutsSeen_.end() ? 0 : seen->second;
    ageouts_ += ageouts >= before ? ageouts - before : ageouts;
    ageoutsSeen_[port.name] = ageouts;

    // A neighbour keeps its index while lldpd keeps it; a new one takes the next.
    auto& indexes = indexes_[port.name];
    std::map<NeighborIdentity, int32_t> kept;
    for (auto& neighbor : port.neighbors) {
        const auto identity = identityOf(neighbor);
        const auto it = indexes.byIdentity.find(identity);
        const bool known = it != indexes.byIdentity.end() && !kept.contains(identity);
        neighbor.index = known ? it->second : ++indexes.last;
        kept[identity] = neighbor.index;
        doc.neighbors[neighbor.index] = std::move(neighbor);
    }
    indexes.byIdentity = std::move(kept);
    return doc;
}

void LldpdSource::portGone(const std::string& name) {
    doc_.interfaces.erase(Ifkit::IntfId(Zim::String8(name)));
    // The index counter stays: a neighbour seen again on a returning port gets a new index.
    indexes_[name].byIdentity.clear();
    ageoutsSeen_.erase(name);
    failingPorts_.erase(name);
    announcedNumbers_.erase(name);
    numbers_.release(name);
}

void LldpdSource::apply(const std::vector<Ifkit::IntfId>& changed) {
    doc_.config = global_.config;
    doc_.localSystem = global_.localSystem;
    doc_.status.remTablesAgeouts = ageouts_;
    if (!applier_) {
        return;
    }
    const auto summary = applier_->interfacesIs(doc_, changed);
    ZTRACE(trace(), 2,
           "lldpd: " << changed.size() << " ports read; interfaces +" << summary.interfacesAdded
                     << " -" << summary.interfacesRemoved << ", neighbours +"
                     << summary.neighborsAdded << " -" << summary.neighborsRemoved << " ~"
                     << summary.neighborsChanged);
}

void LldpdSource::onReconnectAlarm(unsigned int, void* self) {
    auto* source = static_cast<LldpdSource*>(self);
    source->reconnectAlarm_ = 0;
    source->connect();
}

void LldpdSource::onRefreshAlarm(unsigned int, void* self) {
    static_cast<LldpdSource*>(self)->refresh();
}

void LldpdSource::onReadable(int, void* self) {
    static_cast<LldpdSource*>(self)->onWatchReadable();
}

} // namespace LldpSnmpd
