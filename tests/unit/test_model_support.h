#pragma once
// Helpers for the model's unit tests: agent values as the LLDP agent fills them, a recorder of
// the root's per-key notifications, death-test patterns, and the root publication that every
// LldpSm makes once per process.
#include "conv/SnmpConversions.h"
#include "model/LldpSm.h"
#include "model/PortStatusSm.h"
#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/Status.h"

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

    // Position of the first line equal to text, or events.size().
    size_t position(std::string_view text) const {
        return static_cast<size_t>(std::find(events.begin(), events.end(), text) - events.begin());
    }

    void onPortConfig(const Interface::EthPortId& k) override {
        add("PortConfig", Interface::valueToStrep(k));
    }
    void onLocalManagementAddress(const Lldp::ManagementAddress::Key& k) override {
        add("LocalManagementAddress", Lldp::valueToStrep(k));
    }
    void onRemoteSystem(const Lldp::Snmp::RemoteSystemKey& k) override {
        add("RemoteSystem", valueToStrep(k));
    }
    void onRemoteManagementAddress(const Lldp::Snmp::RemoteManagementAddressKey& k) override {
        add("RemoteManagementAddress", valueToStrep(k));
    }
    void onRemoteUnknownTlv(const Lldp::Snmp::RemoteUnknownTlvKey& k) override {
        add("RemoteUnknownTlv", valueToStrep(k));
    }
    void onRemoteUnknownOrgDefTlv(const Lldp::Snmp::RemoteUnknownOrgDefTlvKey& k) override {
        add("RemoteUnknownOrgDefTlv", valueToStrep(k));
    }
    void onRemotePortAndProtocolVlan(const Lldp::Snmp::RemotePortAndProtocolVlanKey& k) override {
        add("RemotePortAndProtocolVlan", valueToStrep(k));
    }
    void onRemoteVlanName(const Lldp::Snmp::RemoteVlanNameKey& k) override {
        add("RemoteVlanName", valueToStrep(k));
    }
    void onRemoteProtocolIdentityInfo(const Lldp::Snmp::RemoteProtocolIdentityInfoKey& k) override {
        add("RemoteProtocolIdentityInfo", valueToStrep(k));
    }

private:
    void add(const char* kind, const std::string& key) { events.push_back(kind + (" " + key)); }
};

// The message of the exception of type E that f throws; "" when it throws none.
template <class E, class F> std::string thrown(F f) {
    try {
        f();
    } catch (const E& e) {
        return e.what();
    }
    return "";
}

// A death-test pattern matching `assertion "<condition>" failed` as it is (the conditions are
// full of parentheses).
inline std::string assertionText(std::string_view condition) {
    std::string out;
    for (char c : "assertion \"" + std::string(condition) + "\" failed") {
        if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos)
            out += '\\';
        out += c;
    }
    return out;
}

// Each LldpSm publishes its root once per process; every test starts and ends unpublished.
class PublishedRootReset {
public:
    PublishedRootReset() { lldpRootResetForTesting(); }
    ~PublishedRootReset() { lldpRootResetForTesting(); }
    PublishedRootReset(const PublishedRootReset&) = delete;
    PublishedRootReset& operator=(const PublishedRootReset&) = delete;
};

} // namespace ModelTest
