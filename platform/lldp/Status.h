#pragma once
// The LLDP agent's status: the remote-table counters ("Statestore/l2discovery/lldp/status/all")
// and, per interface, the port's statistics and its neighbours.
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/RemoteSystem.h"
#include "platform/zim/Attribute.h"
#include "platform/zim/Entity.h"
#include "platform/zim/HashMap.h"
#include "platform/zim/Reactor.h"

namespace Lldp {

class PortStatus : public Zim::Entity {
public:
    class Notifiee : public Zim::Reactor<PortStatus> {
    public:
        virtual void onTxFramesTotal() {}
        virtual void onRxFramesDiscardedTotal() {}
        virtual void onRxFramesErrors() {}
        virtual void onRxFramesTotal() {}
        virtual void onRxTLVsDiscardedTotal() {}
        virtual void onRxTLVsUnrecognizedTotal() {}
        virtual void onRxAgeoutsTotal() {}
        virtual void onRemoteSystem(const int32_t&) {}
    };

    explicit PortStatus(Zim::String8 name) : Entity(std::move(name)) {}
    const char* typeName() const noexcept override { return "Lldp::PortStatus"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

private:
    mutable Zim::NotifierList<Notifiee> notifiees_;
    ZIM_ATTRIBUTE(uint32_t, txFramesTotal, TxFramesTotal)
    ZIM_ATTRIBUTE(uint32_t, rxFramesDiscardedTotal, RxFramesDiscardedTotal)
    ZIM_ATTRIBUTE(uint32_t, rxFramesErrors, RxFramesErrors)
    ZIM_ATTRIBUTE(uint32_t, rxFramesTotal, RxFramesTotal)
    ZIM_ATTRIBUTE(uint32_t, rxTLVsDiscardedTotal, RxTLVsDiscardedTotal)
    ZIM_ATTRIBUTE(uint32_t, rxTLVsUnrecognizedTotal, RxTLVsUnrecognizedTotal)
    ZIM_ATTRIBUTE(uint32_t, rxAgeoutsTotal, RxAgeoutsTotal)
    // The neighbours on this port by the agent's index.
    ZIM_HASHED_COLLECTION(int32_t, Zim::Ptr<RemoteSystem>, remoteSystem, RemoteSystem)

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~PortStatus() override = default;
};

class AllStatus : public Zim::Entity {
public:
    class Notifiee : public Zim::Reactor<AllStatus> {
    public:
        virtual void onRemTablesLastChangeTime() {}
        virtual void onRemTablesInserts() {}
        virtual void onRemTablesDeletes() {}
        virtual void onRemTablesDrops() {}
        virtual void onRemTablesAgeouts() {}
        virtual void onPortStatus(const Ifkit::IntfId&) {}
    };

    explicit AllStatus(Zim::String8 name) : Entity(std::move(name)) {}
    const char* typeName() const noexcept override { return "Lldp::AllStatus"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

private:
    mutable Zim::NotifierList<Notifiee> notifiees_;
    // Seconds on the Zim::now() clock.
    ZIM_ATTRIBUTE(double, remTablesLastChangeTime, RemTablesLastChangeTime)
    ZIM_ATTRIBUTE(uint32_t, remTablesInserts, RemTablesInserts)
    ZIM_ATTRIBUTE(uint32_t, remTablesDeletes, RemTablesDeletes)
    ZIM_ATTRIBUTE(uint32_t, remTablesDrops, RemTablesDrops)
    ZIM_ATTRIBUTE(uint32_t, remTablesAgeouts, RemTablesAgeouts)
    ZIM_HASHED_COLLECTION(Ifkit::IntfId, Zim::Ptr<PortStatus>, portStatus, PortStatus)

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~AllStatus() override = default;
};

} // namespace Lldp
