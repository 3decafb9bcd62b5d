#pragma once
// Connects the LLDP agent's entities to the plug-in's mirror: makes the mirror root, starts its
// top state machine, and tells the mirror of each interface as it comes and goes (what the
// mirror's own reactors cannot see: which port number an interface has).
#include "state/StateApplier.h"
#include "state/StateStore.h"

#include "model/Root.h"

namespace LldpSnmpd {

class LldpGlue : public MirrorGlue {
public:
    // Makes the root, mounts it at "snmp/lldp/root" and starts the top state machine on the
    // agent's entities; must run before any MIB module is initialised.
    explicit LldpGlue(const StateStore& store);
    // Lets go of the state machines, which hold the root that holds them.
    ~LldpGlue() override;
    LldpGlue(const LldpGlue&) = delete;
    LldpGlue& operator=(const LldpGlue&) = delete;

    void interfaceIs(const Ifkit::IntfId& intf, Interface::EthPortId port,
                     const Zim::Ptr<Lldp::PortConfig>& portConfig,
                     const Zim::Ptr<Lldp::PortStatus>& portStatus,
                     const Zim::Ptr<Lldp::LocalPort>& localPort) override;
    void interfaceDel(const Ifkit::IntfId& intf, Interface::EthPortId port) override;
    void onLocalPort(const Ifkit::IntfId& intf, Interface::EthPortId port) override;

    const Lldp::Snmp::Root::Ptr& root() const noexcept { return root_; }

private:
    Lldp::Snmp::Root::Ptr root_;
};

} // namespace LldpSnmpd
