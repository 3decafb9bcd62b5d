#pragma once
// Writes a StateDoc as a state file (docs/state-format.md) that reads back to the same
// document. Enumerations and bit sets are written as numbers, octet strings as text when they
// are printable UTF-8 and as {"hex": ...} otherwise.
#include "state/StateDoc.h"

#include <string>

namespace LldpSnmpd {

std::string stateText(const StateDoc& doc);

} // namespace LldpSnmpd
