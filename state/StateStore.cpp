#include "state/StateStore.h"

#include "platform/snmp/SnmpUtil.h"

namespace LldpSnmpd {

StateStore::StateStore()
    : top_(Zim::makePtr<Zim::Dir>("lldp-snmpd")), config_(Zim::makePtr<Lldp::Config>("config")),
      status_(Zim::makePtr<Lldp::AllStatus>("all")),
      localSystem_(Zim::makePtr<Lldp::LocalSystem>("localSystem")) {
    top_->mount(configPath, config_);
    top_->mount(statusPath, status_);
    top_->mount(localSystemPath, localSystem_);
    SnmpUtil::stateStoreIs(top_);
}

StateStore::~StateStore() {
    if (SnmpUtil::stateStore() == top_) {
        SnmpUtil::stateStoreIs(nullptr);
    }
}

} // namespace LldpSnmpd
