#include "platform/zim/Generic.h"

#include "platform/zim/Exception.h"

namespace Zim {

void throwBadGenericCall(std::string_view what, std::string_view name) {
    throwRangeException(std::string(what) + " '" + std::string(name) + "'");
}

std::string GenericIf::attributeStrRep(std::string_view attribute) const {
    throwBadGenericCall("no attribute", attribute);
}

void GenericIf::invoke(std::string_view operation, const std::vector<std::any>&) {
    throwBadGenericCall("no operation", operation);
}

} // namespace Zim
