#pragma once
// The kinds of values a state file holds, each with its reader, its documentation text and
// its JSON Schema.
#include "state/KeySection.h"

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace LldpSnmpd {

// The JSON Schema of an octet string: a string, or {"hex": "0a0b"}.
Schema octetsSchema();
std::string showOctets(const Zim::String8& value);

ValueType<bool> boolean();
// Signed 32-bit unless min and max say otherwise.
ValueType<int32_t> integer(std::string text = "integer",
                           int32_t min = std::numeric_limits<int32_t>::min(),
                           int32_t max = std::numeric_limits<int32_t>::max());
// A table index: 1..2147483647.
ValueType<int32_t> index(std::string text);
ValueType<uint32_t> counter(std::string text = "counter");
ValueType<uint32_t> unsignedIn(std::string text, uint32_t min, uint32_t max);
ValueType<uint16_t> number16();
ValueType<double> time();
ValueType<int32_t> enumeration(std::string text, Names names);
ValueType<Zim::String8> octets(std::string text = "octet string");
ValueType<Zim::String8> octets(std::string text, size_t most);
ValueType<Zim::String8> oid();
ValueType<Lldp::Oui> oui();

Schema bitSetSchema(Names names, int width);
std::string bitSetText(std::string text, Names names, int width);

// A bit set held in a type with a member `value` of its bits.
template <class T> ValueType<T> bitSet(std::string text, Names names, int width) {
    return {[names, width](const Json& j, const std::string& path) {
                uint32_t bits = readBits(j, path, names, width);
                if constexpr (std::is_constructible_v<T, uint32_t>) {
                    return T(bits);
                } else {
                    return T{static_cast<decltype(T::value)>(bits)};
                }
            },
            bitSetText(std::move(text), names, width), bitSetSchema(names, width),
            [](const T& v) { return v.value == 0 ? std::string("`[]`") : std::string("(bits)"); }};
}

// An identifier that is MAC text when the subtype read before it says so.
template <class Doc>
DependentType<Doc, Zim::String8> identifier(int32_t Doc::*subtype, int32_t macSubtype) {
    return {[subtype, macSubtype](const Json& j, const std::string& path, const Doc& doc) {
                return readIdOctets(j, path, doc.*subtype == macSubtype);
            },
            "octet string (MAC text for `macAddress`)", octetsSchema(), showOctets};
}

} // namespace LldpSnmpd
