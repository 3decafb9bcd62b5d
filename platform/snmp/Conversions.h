#pragma once
// The host's conversions of plain values into the buffers that net-snmp's
// snmp_set_var_typed_value expects. Each takes (value, buffer, capacity), writes from the start
// of the buffer and returns the bytes written, or -1 when the value does not fit or is not
// valid.
#include "platform/zim/String8.h"

#include <cstdint>

struct variable_list;

namespace Snmp {

int S32ToAsnIntegerF(int32_t value, unsigned char* buf, int capacity);
int U32ToAsnUnsignedF(uint32_t value, unsigned char* buf, int capacity);
// TruthValue: true(1), false(2).
int BoolToAsnIntegerF(bool value, unsigned char* buf, int capacity);
int StringToAsnOctetStringF(const Zim::String8& value, unsigned char* buf, int capacity);
// Dotted text ("1.3.6.1.2.1.2.2.1.1") to net-snmp oid sub-identifiers; empty text is 0.0.
int StringToAsnOidF(const Zim::String8& dotted, unsigned char* buf, int capacity);
// A time on the Zim::now() clock to agent uptime in hundredths of a second.
int NowSecondsToUptimeTimeTicksF(double seconds, unsigned char* buf, int capacity);

// An INTEGER-typed variable's value (an index parsed by net-snmp), narrowed to 32 bits.
int32_t AsnIntegerToS32(const variable_list* var);

// Seconds since the agent started for a time on the Zim::now() clock; a time before the start
// counts as the start itself.
double NowSecondsToUptimeSeconds(double seconds);
// Seconds to TimeTicks (hundredths), wrapping as a 32-bit counter does.
uint32_t SecondsToTimeTicks(double seconds);

// When the agent started, on the Zim::now() clock. Set by the host when it starts serving;
// until then the time this library was loaded.
void agentStartTimeIs(double seconds);
double agentStartTime();

} // namespace Snmp
