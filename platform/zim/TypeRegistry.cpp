#include "platform/zim/TypeRegistry.h"

#include <algorithm>

namespace Zim {

namespace {
std::vector<std::string>& registry() {
    static std::vector<std::string> nodes;
    return nodes;
}
} // namespace

void typeNodeIs(const std::string& typeName) {
    auto& nodes = registry();
    if (std::find(nodes.begin(), nodes.end(), typeName) == nodes.end())
        nodes.push_back(typeName);
}

const std::vector<std::string>& typeNodes() {
    return registry();
}

} // namespace Zim
