#pragma once
// Types announced to the framework at load, in announcement order.
#include <string>
#include <vector>

namespace Zim {

void typeNodeIs(const std::string& typeName);
const std::vector<std::string>& typeNodes();

} // namespace Zim
