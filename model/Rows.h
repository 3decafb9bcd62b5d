#pragma once
// The rows of the mirror. Entity rows refer to the LLDP agent's entity (shared, never copied)
// and are read through it at request time; value rows copy a neighbour's sub-table member.
#include "model/RemoteKeys.h"
#include "model/SubKeys.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/RemoteSystem.h"
#include "platform/lldp/Status.h"
#include "platform/zim/Entity.h"
#include "platform/zim/HashMap.h"

#include <string>

namespace Lldp::Snmp {

// A row that stands for one agent entity under a key. It has no name of its own: its key names
// it, and a text of the key in every row of a large table would cost more than the row.
template <class K, class Agent> class EntityRow : public Zim::Entity {
public:
    using Key = K;
    using AgentType = Agent;
    EntityRow(const K& key, Zim::Ptr<const Agent> ptr, const char* typeName)
        : Entity(Zim::String8()), key_(key), ptr_(std::move(ptr)), typeName_(typeName) {}
    const char* typeName() const noexcept override { return typeName_; }
    const K& key() const noexcept { return key_; }
    const Zim::Ptr<const Agent>& ptr() const noexcept { return ptr_; }
    // The key as text, how messages name the row.
    std::string keyText() const {
        using Interface::valueToStrep;
        return valueToStrep(key_);
    }

private:
    K key_;
    Zim::Ptr<const Agent> ptr_;
    const char* typeName_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~EntityRow() override = default;
};

class PortConfig : public EntityRow<Interface::EthPortId, Lldp::PortConfig> {
public:
    PortConfig(const Key& k, Zim::Ptr<const AgentType> p)
        : EntityRow(k, std::move(p), "Lldp::Snmp::PortConfig") {}
    Interface::EthPortId ethPortId() const noexcept { return key(); }

protected:
    ~PortConfig() override = default;
};

class PortStatus : public EntityRow<Interface::EthPortId, Lldp::PortStatus> {
public:
    PortStatus(const Key& k, Zim::Ptr<const AgentType> p)
        : EntityRow(k, std::move(p), "Lldp::Snmp::PortStatus") {}
    Interface::EthPortId ethPortId() const noexcept { return key(); }

protected:
    ~PortStatus() override = default;
};

class LocalPort : public EntityRow<Interface::EthPortId, Lldp::LocalPort> {
public:
    LocalPort(const Key& k, Zim::Ptr<const AgentType> p)
        : EntityRow(k, std::move(p), "Lldp::Snmp::LocalPort") {}
    Interface::EthPortId ethPortId() const noexcept { return key(); }

protected:
    ~LocalPort() override = default;
};

class RemoteSystem : public EntityRow<RemoteSystemKey, Lldp::RemoteSystem> {
public:
    RemoteSystem(const Key& k, Zim::Ptr<const AgentType> p)
        : EntityRow(k, std::move(p), "Lldp::Snmp::RemoteSystem") {}

protected:
    ~RemoteSystem() override = default;
};

// The ports on which a local management address is sent: a set of port numbers.
class PortList : public Zim::Entity {
public:
    explicit PortList(Zim::String8 name) : Entity(std::move(name)) {}
    const char* typeName() const noexcept override { return "Lldp::Snmp::PortList"; }
    const Zim::HashMap<unsigned short, Interface::EthPortId>& portId() const noexcept {
        return portId_;
    }
    void portIdIs(Interface::EthPortId id) { portId_.set(id.value(), id); }
    void newPortId(Interface::EthPortId id) { portId_.set(id.value(), id); }
    void portIdDel(unsigned short port) { portId_.erase(port); }
    void portIdDelAll() { portId_.clear(); }

private:
    Zim::HashMap<unsigned short, Interface::EthPortId> portId_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~PortList() override = default;
};

class LocalManagementAddress : public Zim::Entity {
public:
    using Key = ManagementAddress::Key;
    explicit LocalManagementAddress(const Key& key) : Entity(Lldp::valueToStrep(key)), key_(key) {}
    const char* typeName() const noexcept override { return "Lldp::Snmp::LocalManagementAddress"; }
    const Key& key() const noexcept { return key_; }

    const ManagementAddress& rawValue() const noexcept { return rawValue_; }
    void rawValueIs(const ManagementAddress& value) { rawValue_ = value; }

    const Zim::Ptr<PortList>& portsTxEnable() const noexcept { return portsTxEnable_; }
    Zim::Ptr<PortList> newPortsTxEnable(const Zim::String8& name);
    // Keeps an existing list of that name; a list of another name is replaced.
    Zim::Ptr<PortList> portsTxEnableIs(const Zim::String8& name);
    void portsTxEnableDel();

private:
    Key key_;
    ManagementAddress rawValue_;
    Zim::Ptr<PortList> portsTxEnable_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~LocalManagementAddress() override;
};

// A copied sub-table member of one neighbour: the key, the neighbour it came from (compared by
// identity) and the member's value.
template <class K, class Raw, const char* TypeName> struct ValueRow {
    using Key = K;
    using RawValue = Raw;
    static constexpr const char* typeName = TypeName;

    K key;
    Zim::Ptr<const Lldp::RemoteSystem> ptr;
    Raw rawValue;

    friend bool operator==(const ValueRow& a, const ValueRow& b) {
        return a.key == b.key && a.ptr == b.ptr && a.rawValue == b.rawValue;
    }
    friend bool operator!=(const ValueRow& a, const ValueRow& b) { return !(a == b); }
};

inline constexpr char remoteManagementAddressName[] = "Lldp::Snmp::RemoteManagementAddress";
inline constexpr char remoteUnknownTlvName[] = "Lldp::Snmp::RemoteUnknownTlv";
inline constexpr char remoteUnknownOrgDefTlvName[] = "Lldp::Snmp::RemoteUnknownOrgDefTlv";
inline constexpr char remotePortAndProtocolVlanName[] = "Lldp::Snmp::RemotePortAndProtocolVlan";
inline constexpr char remoteVlanNameName[] = "Lldp::Snmp::RemoteVlanName";
inline constexpr char remoteProtocolIdentityInfoName[] = "Lldp::Snmp::RemoteProtocolIdentityInfo";

using RemoteManagementAddress =
    ValueRow<RemoteManagementAddressKey, ManagementAddress, remoteManagementAddressName>;
using RemoteUnknownTlv = ValueRow<RemoteUnknownTlvKey, UnknownTlv, remoteUnknownTlvName>;
using RemoteUnknownOrgDefTlv =
    ValueRow<RemoteUnknownOrgDefTlvKey, UnknownOrgDefTlv, remoteUnknownOrgDefTlvName>;
using RemotePortAndProtocolVlan =
    ValueRow<RemotePortAndProtocolVlanKey, PortAndProtocolVlan, remotePortAndProtocolVlanName>;
using RemoteVlanName = ValueRow<RemoteVlanNameKey, VlanName, remoteVlanNameName>;
using RemoteProtocolIdentityInfo =
    ValueRow<RemoteProtocolIdentityInfoKey, ProtocolIdentityInfo, remoteProtocolIdentityInfoName>;

inline constexpr char remoteMediaPolicyName[] = "Lldp::Snmp::RemoteMediaPolicy";
inline constexpr char remoteLocationName[] = "Lldp::Snmp::RemoteLocation";
using RemoteMediaPolicy = ValueRow<RemoteMediaPolicyKey, MediaPolicy, remoteMediaPolicyName>;
using RemoteLocation = ValueRow<RemoteLocationKey, MedLocation, remoteLocationName>;

// A copied member of one local port: the key and the member's value.
template <class K, class Raw, const char* TypeName> struct LocalValueRow {
    using Key = K;
    using RawValue = Raw;
    static constexpr const char* typeName = TypeName;

    K key;
    Raw rawValue;

    friend bool operator==(const LocalValueRow&, const LocalValueRow&) = default;
};

inline constexpr char localPortAndProtocolVlanName[] = "Lldp::Snmp::LocalPortAndProtocolVlan";
inline constexpr char localVlanNameName[] = "Lldp::Snmp::LocalVlanName";
inline constexpr char localProtocolIdentityInfoName[] = "Lldp::Snmp::LocalProtocolIdentityInfo";
inline constexpr char localMediaPolicyName[] = "Lldp::Snmp::LocalMediaPolicy";
inline constexpr char localLocationName[] = "Lldp::Snmp::LocalLocation";

using LocalPortAndProtocolVlan =
    LocalValueRow<LocalPortAndProtocolVlanKey, TxEnabled<PortAndProtocolVlan>,
                  localPortAndProtocolVlanName>;
using LocalVlanName = LocalValueRow<LocalVlanNameKey, TxEnabled<VlanName>, localVlanNameName>;
using LocalProtocolIdentityInfo =
    LocalValueRow<LocalProtocolIdentityInfoKey, TxEnabled<ProtocolIdentityInfo>,
                  localProtocolIdentityInfoName>;
using LocalMediaPolicy = LocalValueRow<LocalMediaPolicyKey, MediaPolicy, localMediaPolicyName>;
using LocalLocation = LocalValueRow<LocalLocationKey, MedLocation, localLocationName>;

template <class K, class Raw, const char* TypeName>
std::string valueToStrep(const LocalValueRow<K, Raw, TypeName>& row) {
    return std::string("Value('") + TypeName + "', ** {'key': " + valueToStrep(row.key) +
           ", 'rawValue': " + Lldp::valueToStrep(row.rawValue) + "})";
}

// "Value('Lldp::Snmp::RemoteVlanName', ** {'key': ..., 'ptr': ..., 'rawValue': ...})".
template <class K, class Raw, const char* TypeName>
std::string valueToStrep(const ValueRow<K, Raw, TypeName>& row) {
    std::string ptr = row.ptr ? row.ptr->fullName() : std::string("None");
    return std::string("Value('") + TypeName + "', ** {'key': " + valueToStrep(row.key) +
           ", 'ptr': " + ptr + ", 'rawValue': " + Lldp::valueToStrep(row.rawValue) + "})";
}

} // namespace Lldp::Snmp
