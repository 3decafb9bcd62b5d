#pragma once
// The framework's two exceptions: a value outside its type's range, and a name (or a
// constructor parameter) already taken by a different object.
#include <stdexcept>
#include <string>

namespace Zim {

class RangeException : public std::range_error {
public:
    using std::range_error::range_error;
};

class NameInUseException : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

[[noreturn]] void throwRangeException(const std::string& text);
[[noreturn]] void throwNameInUseException(const std::string& text);

} // namespace Zim
