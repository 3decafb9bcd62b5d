#include "state/ValueTypes.h"

namespace LldpSnmpd {

namespace {

std::string quoted(std::string_view text) {
    return "`" + std::string(text) + "`";
}

Schema integerSchema(int64_t min, int64_t max) {
    return {{"type", "integer"}, {"minimum", min}, {"maximum", max}};
}

Schema namesSchema(Names names) {
    Schema list = Schema::array();
    for (const auto& n : names) {
        list.push_back(n.name);
    }
    return {{"type", "string"}, {"enum", list}};
}

} // namespace

Schema octetsSchema() {
    return {{"anyOf",
             {{{"type", "string"}},
              {{"type", "object"},
               {"properties", {{"hex", {{"type", "string"}, {"pattern", "^([0-9a-fA-F]{2})*$"}}}}},
               {"required", {"hex"}},
               {"additionalProperties", false}}}}};
}

std::string showOctets(const Zim::String8& value) {
    return "`\"" + value.str() + "\"`";
}

ValueType<bool> boolean() {
    return {readBool, "boolean", {{"type", "boolean"}}, [](const bool& v) {
                return quoted(v ? "true" : "false");
            }};
}

ValueType<int32_t> integer(std::string text, int32_t min, int32_t max) {
    bool full =
        min == std::numeric_limits<int32_t>::min() && max == std::numeric_limits<int32_t>::max();
    if (!full) {
        text += " " + std::to_string(min) + ".." + std::to_string(max);
    }
    return {[min, max](const Json& j, const std::string& path) {
                return static_cast<int32_t>(readInteger(j, path, min, max));
            },
            std::move(text), integerSchema(min, max),
            [](const int32_t& v) { return std::to_string(v); }};
}

ValueType<int32_t> index(std::string text) {
    return integer(std::move(text), 1, std::numeric_limits<int32_t>::max());
}

ValueType<uint32_t> counter(std::string text) {
    return {readUint32, std::move(text), integerSchema(0, std::numeric_limits<uint32_t>::max()),
            [](const uint32_t& v) { return std::to_string(v); }};
}

ValueType<uint32_t> unsignedIn(std::string text, uint32_t min, uint32_t max) {
    return {[min, max](const Json& j, const std::string& path) {
                return static_cast<uint32_t>(readInteger(j, path, min, max));
            },
            std::move(text), integerSchema(min, max),
            [](const uint32_t& v) { return std::to_string(v); }};
}

ValueType<uint16_t> number16() {
    return {readU16,
            "16-bit number or `\"0x6c00\"`",
            {{"anyOf",
              {integerSchema(0, 0xffff),
               {{"type", "string"}, {"pattern", "^0[xX][0-9a-fA-F]{1,4}$"}}}}},
            [](const uint16_t& v) { return std::to_string(v); }};
}

ValueType<double> time() {
    return {readTime, "time", {{"type", "number"}, {"minimum", 0}, {"maximum", latestTime}}, {}};
}

ValueType<int32_t> enumeration(std::string text, Names names) {
    return {[names](const Json& j, const std::string& path) { return readEnum(j, path, names); },
            "enumeration " + std::move(text),
            {{"anyOf",
              {namesSchema(names), integerSchema(std::numeric_limits<int32_t>::min(),
                                                 std::numeric_limits<int32_t>::max())}}},
            [names](const int32_t& v) {
                for (const auto& n : names) {
                    if (n.value == v) {
                        return quoted(n.name);
                    }
                }
                return std::to_string(v);
            }};
}

ValueType<Zim::String8> octets(std::string text) {
    return {readOctets, std::move(text), octetsSchema(), showOctets};
}

ValueType<Zim::String8> octets(std::string text, size_t most) {
    return {[most](const Json& j, const std::string& path) {
                auto bytes = readOctets(j, path);
                checkLength(j, path, bytes.size(), most);
                return bytes;
            },
            std::move(text) + ", at most " + std::to_string(most) + " bytes", octetsSchema(),
            showOctets};
}

ValueType<Zim::String8> oid() {
    return {readOid,
            "OID as dotted text (`\"1.3.6.1.2.1.2.2.1.1\"`)",
            {{"type", "string"}, {"pattern", "^\\.?[0-9]+(\\.[0-9]+)+$"}},
            [](const Zim::String8& v) { return "`\"" + v.str() + "\"`"; }};
}

ValueType<Lldp::Oui> oui() {
    return {readOui,
            "OUI: `\"00-12-bb\"`, `\"00:12:bb\"`, `{\"hex\": \"0012bb\"}` or a number",
            {{"anyOf",
              {{{"type", "string"},
                {"pattern", "^[0-9a-fA-F]{2}([-:])[0-9a-fA-F]{2}\\1[0-9a-fA-F]{2}$"}},
               octetsSchema()["anyOf"][1],
               integerSchema(0, 0xffffff)}}},
            {}};
}

Schema bitSetSchema(Names names, int width) {
    return {{"type", "array"},
            {"items", {{"anyOf", {namesSchema(names), integerSchema(0, width - 1)}}}}};
}

std::string bitSetText(std::string text, Names names, int width) {
    return "bit set " + std::move(text) + " (bits 0.." + std::to_string(width - 1) + ")";
}

} // namespace LldpSnmpd
