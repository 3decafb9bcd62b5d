#include "platform/lldp/PortTypes.h"

namespace Interface {
std::string valueToStrep(const EthPortId& id) {
    return std::to_string(id.value());
}
} // namespace Interface

namespace Ifkit {
std::string valueToStrep(const IntfId& id) {
    return "'" + Zim::printable(id.name()) + "'";
}
} // namespace Ifkit

namespace Bridging {
std::string valueToStrep(const VlanId& id) {
    return std::to_string(id.value());
}
std::string valueToStrep(const VlanIdOrNone& id) {
    return std::to_string(id.value());
}
} // namespace Bridging
