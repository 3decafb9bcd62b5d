#pragma once
// The local system as the LLDP agent advertises it ("Statestore/l2discovery/lldp/localSystem"),
// and the per-interface local port.
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/Values.h"
#include "platform/zim/Attribute.h"
#include "platform/zim/Entity.h"
#include "platform/zim/HashMap.h"
#include "platform/zim/OrderedMap.h"
#include "platform/zim/Reactor.h"

#include <optional>

namespace Lldp {

class LocalPort : public Zim::Entity {
public:
    class Notifiee : public Zim::Reactor<LocalPort> {
    public:
        virtual void onPortIdSubtype() {}
        virtual void onPortId() {}
        virtual void onPortDesc() {}
        virtual void onPortVlanId() {}
        virtual void onLinkAggStatus() {}
        virtual void onLinkAggPortId() {}
        virtual void onMaxFrameSize() {}
        virtual void onMacPhy() {}
        virtual void onPower() {}
        virtual void onMedPsePortPower() {}
        virtual void onPortAndProtocolVlan(const Bridging::VlanIdOrNone&) {}
        virtual void onVlanName(const Bridging::VlanId&) {}
        virtual void onProtocolIdentityInfo(const int32_t&) {}
        virtual void onMediaPolicy(const PolicyAppType&) {}
        virtual void onLocation(const int32_t&) {}
    };

    explicit LocalPort(Zim::String8 name) : Entity(std::move(name)) {}
    const char* typeName() const noexcept override { return "Lldp::LocalPort"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

private:
    mutable Zim::NotifierList<Notifiee> notifiees_;
    ZIM_ATTRIBUTE(int32_t, portIdSubtype, PortIdSubtype)
    ZIM_ATTRIBUTE(Zim::String8, portId, PortId)
    ZIM_ATTRIBUTE(Zim::String8, portDesc, PortDesc)
    ZIM_ATTRIBUTE(int32_t, portVlanId, PortVlanId)
    ZIM_ATTRIBUTE(LinkAggStatusMap, linkAggStatus, LinkAggStatus)
    ZIM_ATTRIBUTE(int32_t, linkAggPortId, LinkAggPortId)
    ZIM_ATTRIBUTE(int32_t, maxFrameSize, MaxFrameSize)
    // The IEEE 802.3 MAC/PHY configuration/status the port advertises.
    ZIM_ATTRIBUTE(MacPhyConfigStatusInfo, macPhy, MacPhy)
    // Power via MDI, only on ports that have it.
    ZIM_ATTRIBUTE(std::optional<PowerViaMdiInfo>, power, Power)
    // The LLDP-MED power this port offers as a PSE port, only on such ports.
    ZIM_ATTRIBUTE(std::optional<MedPsePortPower>, medPsePortPower, MedPsePortPower)
    // The IEEE 802.1 TLVs the port can send, each with whether it does.
    ZIM_HASHED_COLLECTION(Bridging::VlanIdOrNone, TxEnabled<PortAndProtocolVlan>,
                          portAndProtocolVlan, PortAndProtocolVlan)
    ZIM_HASHED_COLLECTION(Bridging::VlanId, TxEnabled<VlanName>, vlanName, VlanName)
    ZIM_HASHED_COLLECTION(int32_t, TxEnabled<ProtocolIdentityInfo>, protocolIdentityInfo,
                          ProtocolIdentityInfo)
    // The LLDP-MED network policies and locations the port advertises.
    ZIM_HASHED_COLLECTION(PolicyAppType, MediaPolicy, mediaPolicy, MediaPolicy)
    ZIM_HASHED_COLLECTION(int32_t, MedLocation, location, Location)

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~LocalPort() override = default;
};

class LocalSystem : public Zim::Entity {
public:
    using ManAddrPrioMap = Zim::OrderedMap<ManAddrPriority, ManagementAddress::Key>;

    class Notifiee : public Zim::Reactor<LocalSystem> {
    public:
        virtual void onChassisIdSubtype() {}
        virtual void onChassisId() {}
        virtual void onSysName() {}
        virtual void onSysDesc() {}
        virtual void onSysCapSupported() {}
        virtual void onSysCapEnabled() {}
        virtual void onMedDeviceClass() {}
        virtual void onMedInventory() {}
        virtual void onMedPower() {}
        virtual void onManagementAddress(const ManagementAddress::Key&) {}
        virtual void onManagementAddressPrio(const ManAddrPriority&) {}
        virtual void onLocalPort(const Ifkit::IntfId&) {}
    };

    explicit LocalSystem(Zim::String8 name);
    const char* typeName() const noexcept override { return "Lldp::LocalSystem"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

    // The transmit order of the management addresses: priority to address key. Every key here
    // must also be in managementAddress (the agent keeps that promise).
    const ManAddrPrioMap& managementAddressPrio() const noexcept { return *managementAddressPrio_; }
    void managementAddressPrioIs(const ManAddrPriority& prio, const ManagementAddress::Key& key);
    void managementAddressPrioDel(const ManAddrPriority& prio);

private:
    mutable Zim::NotifierList<Notifiee> notifiees_;
    Zim::Ptr<ManAddrPrioMap> managementAddressPrio_;
    // chassisIdSubtype: chassisComponent 1 ... local 7 (LldpChassisIdSubtype).
    ZIM_ATTRIBUTE(int32_t, chassisIdSubtype, ChassisIdSubtype)
    ZIM_ATTRIBUTE(Zim::String8, chassisId, ChassisId)
    ZIM_ATTRIBUTE(Zim::String8, sysName, SysName)
    ZIM_ATTRIBUTE(Zim::String8, sysDesc, SysDesc)
    ZIM_ATTRIBUTE(SystemCapabilitiesMap, sysCapSupported, SysCapSupported)
    ZIM_ATTRIBUTE(SystemCapabilitiesMap, sysCapEnabled, SysCapEnabled)
    // LldpXMedDeviceClass: notDefined 0, endpointClass1..3 1..3, networkConnectivity 4.
    ZIM_ATTRIBUTE(int32_t, medDeviceClass, MedDeviceClass)
    ZIM_ATTRIBUTE(MedInventory, medInventory, MedInventory)
    ZIM_ATTRIBUTE(MedLocalPower, medPower, MedPower)
    ZIM_HASHED_COLLECTION(ManagementAddress::Key, ManagementAddress, managementAddress,
                          ManagementAddress)
    // An interface is a local port while it is a member here.
    ZIM_HASHED_COLLECTION(Ifkit::IntfId, Zim::Ptr<LocalPort>, localPort, LocalPort)

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~LocalSystem() override = default;
};

} // namespace Lldp
