#pragma once
// The host's services to plug-ins: its state store, its SNMP configuration.
#include "platform/snmp/Config.h"
#include "platform/zim/Entity.h"

namespace SnmpUtil {

// The entity at a path relative to the host's state-store mount ("snmp/lldp/root",
// "Statestore/l2discovery/lldp/config"); null when there is none.
Zim::Ptr<Zim::Entity> getEntityRelative(const char* path);
// The host sets its state-store mount once it has built it.
void stateStoreIs(Zim::Ptr<Zim::Dir> root);
Zim::Ptr<Zim::Dir> stateStore();

// The host's SNMP configuration, made (empty) on first use.
Zim::Ptr<Snmp::Config> getSnmpConfig();

} // namespace SnmpUtil
