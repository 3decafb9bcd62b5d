#pragma once
// The trace handle of the mirror model and its state machines ("LldpSnmp"). Made on first use,
// so a trace from any static initialiser finds it ready, and destroyed at unload.
#include "platform/zim/Trace.h"

namespace Lldp::Snmp {

const Zim::TraceHandle& lldpSnmpTraceHandle();

} // namespace Lldp::Snmp
