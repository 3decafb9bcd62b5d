#pragma once
// The log catalogue of the LLDP MIB plug-in: every operator-visible message it emits, each
// defined once (LldpLogCatalogue.cpp) and emitted through the host's log.
#include "platform/zim/LogHandle.h"

namespace Lldp::Snmp {

// A value a neighbour sent that no SNMP type can carry (too long, empty where the MIB forbids
// it): logged once per instance. Arguments: object, instance, reason.
extern const Zim::LogHandle LLDP_SNMP_VALUE_NOT_SHOWN;

} // namespace Lldp::Snmp
