#pragma once
// One neighbour as the LLDP agent learnt it on one port.
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/Values.h"
#include "platform/zim/Attribute.h"
#include "platform/zim/Entity.h"
#include "platform/zim/FlatMap.h"
#include "platform/zim/Reactor.h"

namespace Lldp {

class RemoteSystem : public Zim::Entity {
public:
    class Notifiee : public Zim::Reactor<RemoteSystem> {
    public:
        virtual void onLastChangeTime() {}
        virtual void onChassisIdSubtype() {}
        virtual void onChassisId() {}
        virtual void onPortIdSubtype() {}
        virtual void onPortId() {}
        virtual void onPortDesc() {}
        virtual void onSysName() {}
        virtual void onSysDesc() {}
        virtual void onSysCapSupported() {}
        virtual void onSysCapEnabled() {}
        virtual void onPortVlanId() {}
        virtual void onMacPhy() {}
        virtual void onPower() {}
        virtual void onLinkAggStatus() {}
        virtual void onLinkAggPortId() {}
        virtual void onMaxFrameSize() {}
        virtual void onPortVlanIdTlvReceived() {}
        virtual void onMacPhyConfigStatusTlvReceived() {}
        virtual void onPowerViaMdiTlvReceived() {}
        virtual void onLinkAggregationTlvReceived() {}
        virtual void onMaximumFrameSizeTlvReceived() {}
        virtual void onMedCapSupported() {}
        virtual void onMedCapCurrent() {}
        virtual void onMedDeviceClass() {}
        virtual void onMedInventory() {}
        virtual void onMedPower() {}
        virtual void onMedCapabilitiesTlvReceived() {}
        virtual void onMedInventoryTlvReceived() {}
        virtual void onMedPowerTlvReceived() {}
        virtual void onManagementAddress(const ManagementAddress::Key&) {}
        virtual void onUnknownTlv(const uint32_t&) {}
        virtual void onUnknownOrgDefTlv(const UnknownOrgDefTlv::Key&) {}
        virtual void onPortAndProtocolVlan(const Bridging::VlanIdOrNone&) {}
        virtual void onVlanName(const Bridging::VlanId&) {}
        virtual void onProtocolIdentityInfo(const int32_t&) {}
        virtual void onMediaPolicy(const PolicyAppType&) {}
        virtual void onLocation(const int32_t&) {}
    };

    RemoteSystem(Zim::String8 name, int32_t index) : Entity(std::move(name)), index_(index) {}
    const char* typeName() const noexcept override { return "Lldp::RemoteSystem"; }
    Zim::NotifierList<Notifiee>& notifiees() const noexcept { return notifiees_; }

    // The agent's per-port index of this neighbour.
    int32_t index() const noexcept { return index_; }

private:
    mutable Zim::NotifierList<Notifiee> notifiees_;
    int32_t index_;
    // When the agent last learnt something new from this neighbour (seconds, Zim::now()).
    ZIM_ATTRIBUTE(double, lastChangeTime, LastChangeTime)
    ZIM_ATTRIBUTE(int32_t, chassisIdSubtype, ChassisIdSubtype)
    ZIM_ATTRIBUTE(Zim::String8, chassisId, ChassisId)
    ZIM_ATTRIBUTE(int32_t, portIdSubtype, PortIdSubtype)
    ZIM_ATTRIBUTE(Zim::String8, portId, PortId)
    ZIM_ATTRIBUTE(Zim::String8, portDesc, PortDesc)
    ZIM_ATTRIBUTE(Zim::String8, sysName, SysName)
    ZIM_ATTRIBUTE(Zim::String8, sysDesc, SysDesc)
    ZIM_ATTRIBUTE(SystemCapabilitiesMap, sysCapSupported, SysCapSupported)
    ZIM_ATTRIBUTE(SystemCapabilitiesMap, sysCapEnabled, SysCapEnabled)
    // IEEE 802.1 and 802.3 TLVs; each is meaningful only while its received flag is set.
    ZIM_ATTRIBUTE(int32_t, portVlanId, PortVlanId)
    ZIM_ATTRIBUTE(MacPhyConfigStatusInfo, macPhy, MacPhy)
    ZIM_ATTRIBUTE(PowerViaMdiInfo, power, Power)
    ZIM_ATTRIBUTE(LinkAggStatusMap, linkAggStatus, LinkAggStatus)
    ZIM_ATTRIBUTE(int32_t, linkAggPortId, LinkAggPortId)
    ZIM_ATTRIBUTE(int32_t, maxFrameSize, MaxFrameSize)
    ZIM_ATTRIBUTE(bool, portVlanIdTlvReceived, PortVlanIdTlvReceived)
    ZIM_ATTRIBUTE(bool, macPhyConfigStatusTlvReceived, MacPhyConfigStatusTlvReceived)
    ZIM_ATTRIBUTE(bool, powerViaMdiTlvReceived, PowerViaMdiTlvReceived)
    ZIM_ATTRIBUTE(bool, linkAggregationTlvReceived, LinkAggregationTlvReceived)
    ZIM_ATTRIBUTE(bool, maximumFrameSizeTlvReceived, MaximumFrameSizeTlvReceived)
    // LLDP-MED TLVs; each is meaningful only while its received flag is set.
    ZIM_ATTRIBUTE(MedCapabilities, medCapSupported, MedCapSupported)
    ZIM_ATTRIBUTE(MedCapabilities, medCapCurrent, MedCapCurrent)
    ZIM_ATTRIBUTE(int32_t, medDeviceClass, MedDeviceClass)
    ZIM_ATTRIBUTE(MedInventory, medInventory, MedInventory)
    ZIM_ATTRIBUTE(MedExtendedPower, medPower, MedPower)
    ZIM_ATTRIBUTE(bool, medCapabilitiesTlvReceived, MedCapabilitiesTlvReceived)
    ZIM_ATTRIBUTE(bool, medInventoryTlvReceived, MedInventoryTlvReceived)
    ZIM_ATTRIBUTE(bool, medPowerTlvReceived, MedPowerTlvReceived)
    ZIM_SMALL_COLLECTION(ManagementAddress::Key, ManagementAddress, managementAddress,
                         ManagementAddress)
    ZIM_SMALL_COLLECTION(uint32_t, UnknownTlv, unknownTlv, UnknownTlv)
    ZIM_SMALL_COLLECTION(UnknownOrgDefTlv::Key, UnknownOrgDefTlv, unknownOrgDefTlv,
                         UnknownOrgDefTlv)
    ZIM_SMALL_COLLECTION(Bridging::VlanIdOrNone, PortAndProtocolVlan, portAndProtocolVlan,
                         PortAndProtocolVlan)
    ZIM_SMALL_COLLECTION(Bridging::VlanId, VlanName, vlanName, VlanName)
    ZIM_SMALL_COLLECTION(int32_t, ProtocolIdentityInfo, protocolIdentityInfo, ProtocolIdentityInfo)
    ZIM_SMALL_COLLECTION(PolicyAppType, MediaPolicy, mediaPolicy, MediaPolicy)
    ZIM_SMALL_COLLECTION(int32_t, MedLocation, location, Location)

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~RemoteSystem() override = default;
};

} // namespace Lldp
