#pragma once
// The LLDP agent's global configuration ("Statestore/l2discovery/lldp/config") and its
// per-interface port configuration.
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/Values.h"
#include "platform/zim/Attribute.h"
#include "platform/zim/Entity.h"
#include "platform/zim/HashMap.h"
#include "platform/zim/Reactor.h"

namespace Lldp {

class PortConfig : public Zim::Entity {
public:
    // Basic TLVs enabled for transmission (portDesc 0, sysName 1, sysDesc 2, sysCap 3).
    struct EnabledTlvs {
        EnabledTlvs() = default;
        explicit EnabledTlvs(uint32_t v) : value(static_cast<uint8_t>(v)) {
            if (v > 0xf)
                Zim::throwRangeException("EnabledTlvs::value > 0xf not allowed");
        }
        uint8_t value = 0;
        friend bool operator==(const EnabledTlvs&, const EnabledTlvs&) = default;
    };
    // IEEE 802.3 TLVs enabled (macPhyConfigStatus 0, powerViaMDI 1, linkAggregation 2,
    // maxFrameSize 3).
    struct Dot3EnabledTlvs {
        Dot3EnabledTlvs() = default;
        explicit Dot3EnabledTlvs(uint32_t v) : value(static_cast<uint8_t>(v)) {
            if (v > 0xf)
                Zim::throwRangeException("Dot3EnabledTlvs::value > 0xf not allowed");
        }
        uint8_t value = 0;
        friend bool operator==(const Dot3EnabledTlvs&, const Dot3EnabledTlvs&) = default;
    };

    class Notifiee : public Zim::Reactor<PortConfig> {
    public:
        virtual void onAdminStatus() {}
        virtual void onNotificationEnable() {}
        virtual void onEnabledTlvs() {}
        virtual void onDot3EnabledTlvs() {}
        virtual void onPortVlanTxEnable() {}
        virtual void onManAddrTxEnable() {}
        virtual void onMedCapSupported() {}
        virtual void onMedTlvsTxEnable() {}
        virtual void onMedNotifEnable() {}
    };

    explicit PortConfig(Zim::String8 name) : Entity(std::move(name)) {}
    const char* typeName() const noexcept override { return "Lldp::PortConfig"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

private:
    mutable Zim::NotifierList<Notifiee> notifiees_;
    // adminStatus: txOnly 1, rxOnly 2, txAndRx 3, disabled 4.
    ZIM_ATTRIBUTE(int32_t, adminStatus, AdminStatus)
    ZIM_ATTRIBUTE(bool, notificationEnable, NotificationEnable)
    ZIM_ATTRIBUTE(EnabledTlvs, enabledTlvs, EnabledTlvs)
    ZIM_ATTRIBUTE(Dot3EnabledTlvs, dot3EnabledTlvs, Dot3EnabledTlvs)
    ZIM_ATTRIBUTE(bool, portVlanTxEnable, PortVlanTxEnable)
    // Whether the local management addresses are sent on this port.
    ZIM_ATTRIBUTE(bool, manAddrTxEnable, ManAddrTxEnable)
    // The LLDP-MED TLVs the port can send and those it sends.
    ZIM_ATTRIBUTE(MedCapabilities, medCapSupported, MedCapSupported)
    ZIM_ATTRIBUTE(MedCapabilities, medTlvsTxEnable, MedTlvsTxEnable)
    // Whether a MED endpoint appearing on or leaving this port is notified.
    ZIM_ATTRIBUTE(bool, medNotifEnable, MedNotifEnable)

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~PortConfig() override = default;
};

class Config : public Zim::Entity {
public:
    class Notifiee : public Zim::Reactor<Config> {
    public:
        virtual void onMessageTxInterval() {}
        virtual void onMessageTxHoldMultiplier() {}
        virtual void onReinitDelay() {}
        virtual void onTxDelay() {}
        virtual void onMedFastStartRepeatCount() {}
        virtual void onPortConfig(const Ifkit::IntfId&) {}
    };

    explicit Config(Zim::String8 name) : Entity(std::move(name)) {}
    const char* typeName() const noexcept override { return "Lldp::Config"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

    // The notification interval is fixed: nothing configures it.
    int32_t notificationInterval() const noexcept { return 5; }

private:
    mutable Zim::NotifierList<Notifiee> notifiees_;
    ZIM_ATTRIBUTE(int32_t, messageTxInterval, MessageTxInterval)
    ZIM_ATTRIBUTE(int32_t, messageTxHoldMultiplier, MessageTxHoldMultiplier)
    ZIM_ATTRIBUTE(int32_t, reinitDelay, ReinitDelay)
    ZIM_ATTRIBUTE(int32_t, txDelay, TxDelay)
    // How many LLDPDUs go out fast when a MED endpoint appears (1..10).
    ZIM_ATTRIBUTE(uint32_t, medFastStartRepeatCount, MedFastStartRepeatCount)
    ZIM_HASHED_COLLECTION(Ifkit::IntfId, Zim::Ptr<PortConfig>, portConfig, PortConfig)

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~Config() override = default;
};

} // namespace Lldp
