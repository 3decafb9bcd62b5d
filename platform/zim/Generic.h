#pragma once
// The generic face of a type that callers reach by name instead of through its C++ interface:
// its textual form, its attributes by name, and its named operations ("handleLocalPort",
// "doClose"). Arguments travel as std::any holding the operation's parameter types.
#include <any>
#include <string>
#include <string_view>
#include <vector>

namespace Zim {

class GenericIf {
public:
    virtual ~GenericIf() = default;
    virtual std::string strRep() const = 0;
    // Throws the range exception for an unknown attribute.
    virtual std::string attributeStrRep(std::string_view attribute) const;
    // Throws the range exception for an unknown operation or mismatched arguments.
    virtual void invoke(std::string_view operation, const std::vector<std::any>& args);
};

// Fetches argument i of an invoke() call as T, or throws the range exception naming the
// operation and the position.
template <class T>
T genericArgument(std::string_view operation, const std::vector<std::any>& args, size_t i);

[[noreturn]] void throwBadGenericCall(std::string_view what, std::string_view name);

template <class T>
T genericArgument(std::string_view operation, const std::vector<std::any>& args, size_t i) {
    if (i >= args.size())
        throwBadGenericCall("missing argument for operation", operation);
    if (const T* value = std::any_cast<T>(&args[i]))
        return *value;
    throwBadGenericCall("argument of the wrong type for operation", operation);
}

} // namespace Zim
