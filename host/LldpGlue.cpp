#include "host/LldpGlue.h"

#include "model/LldpSm.h"
#include "model/LocalPortSm.h"
#include "model/PortStatusSm.h"

#include <any>

namespace LldpSnmpd {

LldpGlue::LldpGlue(const StateStore& store) : root_(Lldp::Snmp::rootFactory("root")) {
    store.top()->mount(mirrorRootPath, root_);
    root_->lldpSmIs(store.status(), store.localSystem(), store.config(), root_);
}

LldpGlue::~LldpGlue() {
    root_->portStatusSmDelAll();
    root_->localPortSmDelAll();
    root_->lldpSmDel();
}

// The rows exist before the interface's state machine, which then finds its port's rows; the
// port joins the management addresses' port lists last.
void LldpGlue::interfaceIs(const Ifkit::IntfId& intf, Interface::EthPortId port,
                           const Zim::Ptr<Lldp::PortConfig>& portConfig,
                           const Zim::Ptr<Lldp::PortStatus>& portStatus,
                           const Zim::Ptr<Lldp::LocalPort>& localPort) {
    root_->portConfigIs(port, portConfig);
    root_->portStatusIs(port, portStatus);
    root_->localPortIs(port, localPort);
    root_->localPortSmIs(port, localPort, root_);
    root_->portStatusSmIs(port, portStatus, root_);
    onLocalPort(intf, port);
}

// The neighbours' rows leave with the machine's doClose, before the machine itself and the
// port's own rows.
void LldpGlue::interfaceDel(const Ifkit::IntfId& intf, Interface::EthPortId port) {
    if (auto sm = root_->portStatusSm(intf)) {
        sm->invoke("doClose", {});
    }
    root_->portStatusSmDel(intf);
    if (auto sm = root_->localPortSm(port)) {
        sm->doClose();
    }
    root_->localPortSmDel(port);
    root_->portConfigDel(port);
    root_->portStatusDel(port);
    root_->localPortDel(port);
}

void LldpGlue::onLocalPort(const Ifkit::IntfId& intf, Interface::EthPortId port) {
    root_->lldpSm()->invoke("handleLocalPort", {std::any(intf), std::any(port)});
}

} // namespace LldpSnmpd
