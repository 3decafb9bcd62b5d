#pragma once
// Helpers for the model's unit tests: agent values and entities as the LLDP agent fills them,
// a recorder of the root's per-key notifications, a capture of the model's trace lines, and
// the root publication that every LldpSm makes once per process.
#include "conv/SnmpConversions.h"
#include "model/LldpSm.h"
#include "model/PortStatusSm.h"
#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/Status.h"
#include "platform/zim/Trace.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace ModelTest {

inline Zim::String8 bytes(std::initializer_list<unsigned char> octets) {
    const std::vector<unsigned char> v(octets);
    return Zim::String8(v.data(), v.size());
}

// IPv4 address 10.0.0.<last> (address family 1).
inline Lldp::ManagementAddress::Key ipv4(unsigned char last) {
    return {1, bytes({10, 0, 0, last})};
}

inline Lldp::ManagementAddress managementAddress(const Lldp::ManagementAddress::Key& key,
                                                 int32_t ifId = 0) {
    return {key, 2, ifId, "1.3.6.1.2.1.2.2.1.1"};
}

inline Interface::EthPortId port(uint16_t number) {
    return Interface::EthPortId(number);
}

// The order in which the root told its reactors about rows, one line per notification:
// "RemoteSystem <key text>", "RemoteVlanName <key text>", ...
class RootRecorder : public Lldp::Snmp::Root::Notifiee {
public:
    explicit RootRecorder(const Lldp::Snmp::Root::Ptr& root) { notifierIs(root); }
    ~RootRecorder() override { notifierIs(nullptr); }

    std::vector<std::string> events;

    // Lines that start with the given kind ("RemoteSystem ").
    std::vector<std::string> of(std::string_view kind) const {
        std::vector<std::string> out;
        for (const auto& e : events) {
            if (e.compare(0, kind.size(), kind) == 0) out.push_back(e);
        }
        return out;
    }
    // Position of the first line equal to text, or events.size().
    size_t position(std::string_view text) const {
        return static_cast<size_t>(std::find(events.begin(), events.end(), text) - events.begin());
    }

    void onPortConfig(const Interface::EthPortId& k) override {
        events.push_back("PortConfig " + Interface::valueToStrep(k));
    }
    void onPortStatus(const Interface::EthPortId& k) override {
        events.push_back("PortStatus " + Interface::valueToStrep(k));
    }
    void onLocalPort(const Interface::EthPortId& k) override {
        events.push_back("LocalPort " + Interface::valueToStrep(k));
    }
    void onLocalManagementAddress(const Lldp::ManagementAddress::Key& k) override {
        events.push_back("LocalManagementAddress " + Lldp::valueToStrep(k));
    }
    void onRemoteSystem(const Lldp::Snmp::RemoteSystemKey& k) override {
        events.push_back("RemoteSystem " + valueToStrep(k));
    }
    void onRemoteManagementAddress(const Lldp::Snmp::RemoteManagementAddressKey& k) override {
        events.push_back("RemoteManagementAddress " + valueToStrep(k));
    }
    void onRemoteUnknownTlv(const Lldp::Snmp::RemoteUnknownTlvKey& k) override {
        events.push_back("RemoteUnknownTlv " + valueToStrep(k));
    }
    void onRemoteUnknownOrgDefTlv(const Lldp::Snmp::RemoteUnknownOrgDefTlvKey& k) override {
        events.push_back("RemoteUnknownOrgDefTlv " + valueToStrep(k));
    }
    void onRemotePortAndProtocolVlan(const Lldp::Snmp::RemotePortAndProtocolVlanKey& k) override {
        events.push_back("RemotePortAndProtocolVlan " + valueToStrep(k));
    }
    void onRemoteVlanName(const Lldp::Snmp::RemoteVlanNameKey& k) override {
        events.push_back("RemoteVlanName " + valueToStrep(k));
    }
    void onRemoteProtocolIdentityInfo(const Lldp::Snmp::RemoteProtocolIdentityInfoKey& k) override {
        events.push_back("RemoteProtocolIdentityInfo " + valueToStrep(k));
    }
};

// Every "LldpSnmp" trace line, at every level, while alive.
class TraceCapture {
public:
    TraceCapture() : previousLevels_(Zim::traceSpec()) {
        Zim::traceSpecIs("LldpSnmp=9");
        Zim::traceSinkIs([this](const Zim::TraceRecord& r) {
            if (r.handle == "LldpSnmp") lines.push_back(r);
        });
    }
    ~TraceCapture() {
        Zim::traceSinkIs({});
        Zim::traceSpecIs(previousLevels_);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    std::vector<Zim::TraceRecord> lines;

    bool has(int level, std::string_view text) const {
        return std::any_of(lines.begin(), lines.end(), [&](const Zim::TraceRecord& r) {
            return r.level == level && r.text == text;
        });
    }
    size_t countStartingWith(std::string_view prefix) const {
        return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&](const auto& r) {
            return r.text.compare(0, prefix.size(), prefix) == 0;
        }));
    }

private:
    std::string previousLevels_;
};

// A death-test pattern that matches the text as it is (the assertion texts are full of
// parentheses and quotes).
inline std::string literally(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos) out += '\\';
        out += c;
    }
    return out;
}

inline std::string assertionText(std::string_view condition) {
    return literally("assertion \"" + std::string(condition) + "\" failed");
}

// Each LldpSm publishes its root once per process; every test starts and ends unpublished.
class PublishedRootReset {
public:
    PublishedRootReset() { lldpRootResetForTesting(); }
    ~PublishedRootReset() { lldpRootResetForTesting(); }
    PublishedRootReset(const PublishedRootReset&) = delete;
    PublishedRootReset& operator=(const PublishedRootReset&) = delete;
};

}  // namespace ModelTest
