#pragma once
// The SNMP-ordered mirror of the LLDP agent's state, mounted at "snmp/lldp/root": one ordered
// collection per table, keyed so that key order is the table's index order. The state machines
// are the only writers; the table handlers only read. The root also owns the state machines.
#include "model/Rows.h"
#include "platform/zim/Entity.h"
#include "platform/zim/HashMap.h"
#include "platform/zim/OrderedMap.h"
#include "platform/zim/Reactor.h"

namespace Lldp::Snmp {

class LldpSm;
class LocalPortSm;
class PortStatusSm;

// What both families share: delete by key and by iterator, delete all, the per-key notification
// and the collection itself, whose change hook sends it.
#define LLDP_SNMP_ROWS_COMMON(Row, name, Name)                                                     \
    void name##Del(const Row::Key& key) {                                                          \
        name##_->erase(key);                                                                       \
    }                                                                                              \
    void name##Del(const Name##Map::ConstIterator& it) {                                           \
        if (it)                                                                                    \
            name##_->erase(it.key());                                                              \
    }                                                                                              \
    void name##DelAll() {                                                                          \
        name##_->clear();                                                                          \
    }                                                                                              \
    void name##Notify(const Row::Key& key) {                                                       \
        notifiees_.notify([&](Notifiee& n) { n.on##Name(key); });                                  \
    }                                                                                              \
                                                                                                   \
private:                                                                                           \
    ::Zim::Ptr<Name##Map> name##_ =                                                                \
        makeCollection<Name##Map>([this](const Row::Key& key) { name##Notify(key); });

// The operation family of one collection of entity rows: newXxx, xxxIs, xxxDel (by key and by
// iterator), xxxDelAll, xxx(key), and the collection itself for ordered walks.
#define LLDP_SNMP_ENTITY_ROWS(Row, name, Name)                                                     \
public:                                                                                            \
    using Name##Map = ::Zim::OrderedMap<Row::Key, ::Zim::Ptr<Row>>;                                \
    const Name##Map& name() const noexcept {                                                       \
        return *name##_;                                                                           \
    }                                                                                              \
    ::Zim::Ptr<Row> name(const Row::Key& key) const {                                              \
        auto* row = name##_->find(key);                                                            \
        return row ? *row : ::Zim::Ptr<Row>();                                                     \
    }                                                                                              \
    ::Zim::Ptr<Row> new##Name(const Row::Key& key, const ::Zim::Ptr<const Row::AgentType>& ptr) {  \
        return newEntityRow<Row>(*name##_, key, ptr);                                              \
    }                                                                                              \
    ::Zim::Ptr<Row> name##Is(const Row::Key& key, const ::Zim::Ptr<const Row::AgentType>& ptr) {   \
        return entityRowIs<Row>(*name##_, key, ptr);                                               \
    }                                                                                              \
    LLDP_SNMP_ROWS_COMMON(Row, name, Name)

// The same family for value rows: xxxIs(value) overwrites the row of the value's key in place.
#define LLDP_SNMP_VALUE_ROWS(Row, name, Name)                                                      \
public:                                                                                            \
    using Name##Map = ::Zim::OrderedMap<Row::Key, Row>;                                            \
    const Name##Map& name() const noexcept {                                                       \
        return *name##_;                                                                           \
    }                                                                                              \
    const Row* name(const Row::Key& key) const {                                                   \
        return name##_->find(key);                                                                 \
    }                                                                                              \
    void new##Name(const Row& value) {                                                             \
        name##_->set(value.key, value);                                                            \
    }                                                                                              \
    void name##Is(const Row& value) {                                                              \
        name##_->set(value.key, value);                                                            \
    }                                                                                              \
    LLDP_SNMP_ROWS_COMMON(Row, name, Name)

class Root : public Zim::Entity {
public:
    using Ptr = Zim::Ptr<Root>;
    using PtrConst = Zim::Ptr<const Root>;

    class Notifiee : public Zim::Reactor<Root> {
    public:
        virtual void onPortConfig(const Interface::EthPortId&) {}
        virtual void onPortStatus(const Interface::EthPortId&) {}
        virtual void onLocalPort(const Interface::EthPortId&) {}
        virtual void onLocalManagementAddress(const ManagementAddress::Key&) {}
        virtual void onRemoteSystem(const RemoteSystemKey&) {}
        virtual void onRemoteManagementAddress(const RemoteManagementAddressKey&) {}
        virtual void onRemoteUnknownTlv(const RemoteUnknownTlvKey&) {}
        virtual void onRemoteUnknownOrgDefTlv(const RemoteUnknownOrgDefTlvKey&) {}
        virtual void onRemotePortAndProtocolVlan(const RemotePortAndProtocolVlanKey&) {}
        virtual void onRemoteVlanName(const RemoteVlanNameKey&) {}
        virtual void onRemoteProtocolIdentityInfo(const RemoteProtocolIdentityInfoKey&) {}
        virtual void onRemoteMediaPolicy(const RemoteMediaPolicyKey&) {}
        virtual void onRemoteLocation(const RemoteLocationKey&) {}
        virtual void onLocalPortAndProtocolVlan(const LocalPortAndProtocolVlanKey&) {}
        virtual void onLocalVlanName(const LocalVlanNameKey&) {}
        virtual void onLocalProtocolIdentityInfo(const LocalProtocolIdentityInfoKey&) {}
        virtual void onLocalMediaPolicy(const LocalMediaPolicyKey&) {}
        virtual void onLocalLocation(const LocalLocationKey&) {}
    };

    static Ptr RootIs(Zim::String8 name);
    const char* typeName() const noexcept override { return "Lldp::Snmp::Root"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

    // Local management addresses: rows made by key, their value and port list set afterwards.
    using LocalManagementAddressMap =
        Zim::OrderedMap<ManagementAddress::Key, Zim::Ptr<LocalManagementAddress>>;
    const LocalManagementAddressMap& localManagementAddress() const noexcept {
        return *localManagementAddress_;
    }
    Zim::Ptr<LocalManagementAddress>
    localManagementAddress(const ManagementAddress::Key& key) const;
    Zim::Ptr<LocalManagementAddress> newLocalManagementAddress(const ManagementAddress::Key& key);
    Zim::Ptr<LocalManagementAddress> localManagementAddressIs(const ManagementAddress::Key& key);
    void localManagementAddressDel(const ManagementAddress::Key& key);
    void localManagementAddressDelAll();
    void localManagementAddressNotify(const ManagementAddress::Key& key);

    // One PortStatusSm per interface, keyed by the interface (the PortStatus entity's name).
    const Zim::HashMap<Ifkit::IntfId, Zim::Ptr<PortStatusSm>>& portStatusSm() const noexcept {
        return portStatusSm_;
    }
    Zim::Ptr<PortStatusSm> portStatusSm(const Ifkit::IntfId& intf) const;
    Zim::Ptr<PortStatusSm> newPortStatusSm(Interface::EthPortId ethPortId,
                                           const Zim::Ptr<const Lldp::PortStatus>& portStatus,
                                           const Ptr& root);
    // Returns the existing machine when its parameters are the same; refuses different ones.
    Zim::Ptr<PortStatusSm> portStatusSmIs(Interface::EthPortId ethPortId,
                                          const Zim::Ptr<const Lldp::PortStatus>& portStatus,
                                          const Ptr& root);
    void portStatusSmDel(const Ifkit::IntfId& intf);
    void portStatusSmDelAll();

    // One LocalPortSm per local port, keyed by its port number.
    const Zim::HashMap<Interface::EthPortId, Zim::Ptr<LocalPortSm>>& localPortSm() const noexcept {
        return localPortSm_;
    }
    Zim::Ptr<LocalPortSm> localPortSm(Interface::EthPortId port) const;
    // Returns the existing machine when its parameters are the same; refuses different ones.
    Zim::Ptr<LocalPortSm> localPortSmIs(Interface::EthPortId port,
                                        const Zim::Ptr<const Lldp::LocalPort>& localPort,
                                        const Ptr& root);
    void localPortSmDel(Interface::EthPortId port);
    void localPortSmDelAll();

    const Zim::Ptr<LldpSm>& lldpSm() const noexcept { return lldpSm_; }
    Zim::Ptr<LldpSm> newLldpSm(const Zim::Ptr<const Lldp::AllStatus>& status,
                               const Zim::Ptr<const Lldp::LocalSystem>& localSystem,
                               const Zim::Ptr<const Lldp::Config>& config, const Ptr& root);
    // Keeps the existing machine when all four are the same; otherwise replaces it.
    Zim::Ptr<LldpSm> lldpSmIs(const Zim::Ptr<const Lldp::AllStatus>& status,
                              const Zim::Ptr<const Lldp::LocalSystem>& localSystem,
                              const Zim::Ptr<const Lldp::Config>& config, const Ptr& root);
    void lldpSmDel();

private:
    explicit Root(Zim::String8 name);

    template <class Map> static Zim::Ptr<Map> makeCollection(typename Map::ChangeHook hook) {
        auto map = Zim::makePtr<Map>();
        map->onChangeIs(std::move(hook));
        return map;
    }
    template <class Row, class Map>
    Zim::Ptr<Row> newEntityRow(Map& map, const typename Row::Key& key,
                               const Zim::Ptr<const typename Row::AgentType>& ptr) {
        auto row = Zim::makePtr<Row>(key, ptr);
        row->parentIs(this);
        map.set(key, row);
        return row;
    }
    template <class Row, class Map>
    Zim::Ptr<Row> entityRowIs(Map& map, const typename Row::Key& key,
                              const Zim::Ptr<const typename Row::AgentType>& ptr) {
        if (auto* existing = map.find(key)) {
            if ((*existing)->ptr() == ptr)
                return *existing;
            throwEntityRowInUse((*existing)->keyText(), (*existing)->ptr().get(), ptr.get());
        }
        return newEntityRow<Row>(map, key, ptr);
    }
    [[noreturn]] static void throwEntityRowInUse(const std::string& rowName, const void* current,
                                                 const void* wanted);

    mutable Zim::NotifierList<Notifiee> notifiees_;
    LLDP_SNMP_ENTITY_ROWS(PortConfig, portConfig, PortConfig)
    LLDP_SNMP_ENTITY_ROWS(PortStatus, portStatus, PortStatus)
    LLDP_SNMP_ENTITY_ROWS(LocalPort, localPort, LocalPort)
    Zim::Ptr<LocalManagementAddressMap> localManagementAddress_ =
        makeCollection<LocalManagementAddressMap>(
            [this](const ManagementAddress::Key& key) { localManagementAddressNotify(key); });
    LLDP_SNMP_ENTITY_ROWS(RemoteSystem, remoteSystem, RemoteSystem)
    LLDP_SNMP_VALUE_ROWS(RemoteManagementAddress, remoteManagementAddress, RemoteManagementAddress)
    LLDP_SNMP_VALUE_ROWS(RemoteUnknownTlv, remoteUnknownTlv, RemoteUnknownTlv)
    LLDP_SNMP_VALUE_ROWS(RemoteUnknownOrgDefTlv, remoteUnknownOrgDefTlv, RemoteUnknownOrgDefTlv)
    LLDP_SNMP_VALUE_ROWS(RemotePortAndProtocolVlan, remotePortAndProtocolVlan,
                         RemotePortAndProtocolVlan)
    LLDP_SNMP_VALUE_ROWS(RemoteVlanName, remoteVlanName, RemoteVlanName)
    LLDP_SNMP_VALUE_ROWS(RemoteProtocolIdentityInfo, remoteProtocolIdentityInfo,
                         RemoteProtocolIdentityInfo)
    LLDP_SNMP_VALUE_ROWS(RemoteMediaPolicy, remoteMediaPolicy, RemoteMediaPolicy)
    LLDP_SNMP_VALUE_ROWS(RemoteLocation, remoteLocation, RemoteLocation)
    LLDP_SNMP_VALUE_ROWS(LocalPortAndProtocolVlan, localPortAndProtocolVlan,
                         LocalPortAndProtocolVlan)
    LLDP_SNMP_VALUE_ROWS(LocalVlanName, localVlanName, LocalVlanName)
    LLDP_SNMP_VALUE_ROWS(LocalProtocolIdentityInfo, localProtocolIdentityInfo,
                         LocalProtocolIdentityInfo)
    LLDP_SNMP_VALUE_ROWS(LocalMediaPolicy, localMediaPolicy, LocalMediaPolicy)
    LLDP_SNMP_VALUE_ROWS(LocalLocation, localLocation, LocalLocation)
    Zim::HashMap<Interface::EthPortId, Zim::Ptr<LocalPortSm>> localPortSm_;
    Zim::HashMap<Ifkit::IntfId, Zim::Ptr<PortStatusSm>> portStatusSm_;
    Zim::Ptr<LldpSm> lldpSm_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~Root() override;
};

#undef LLDP_SNMP_ENTITY_ROWS
#undef LLDP_SNMP_VALUE_ROWS
#undef LLDP_SNMP_ROWS_COMMON

// Makes the root that the host mounts at "snmp/lldp/root".
Root::Ptr rootFactory(Zim::String8 name);

} // namespace Lldp::Snmp
