#include "state/StateDoc.h"

#include <algorithm>

namespace LldpSnmpd {

std::vector<const InterfaceDoc*> StateDoc::interfacesByPort() const {
    std::vector<const InterfaceDoc*> out;
    out.reserve(interfaces.size());
    for (const auto& [name, intf] : interfaces) {
        out.push_back(&intf);
    }
    std::sort(out.begin(), out.end(),
              [](const InterfaceDoc* a, const InterfaceDoc* b) { return a->portNum < b->portNum; });
    return out;
}

} // namespace LldpSnmpd
