#include "model/LldpLogCatalogue.h"

namespace Lldp::Snmp {

const Zim::LogHandle LLDP_SNMP_VALUE_NOT_SHOWN(
    "LLDP_SNMP_VALUE_NOT_SHOWN", Zim::LogSeverity::warning,
    "%s.%s cannot be answered: %s; a GET of it gets genErr, walks step over it",
    "A neighbour sent a value that the MIB object's type cannot carry (longer than the object "
    "allows, or empty where it must not be). Managers that walk the table get every other value.",
    "Check the neighbour that sends this value; the LLDP MIB cannot show it as sent.", 0.0);

} // namespace Lldp::Snmp
