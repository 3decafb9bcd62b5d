#include "state/ValueReaders.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <unordered_set>

namespace LldpSnmpd {

[[noreturn]] void fail(const std::string& path, std::string reason) {
    throw StateError(path, std::move(reason));
}

std::string quotedText(std::string_view text) {
    constexpr size_t longest = 44;
    const bool cut = text.size() > longest;
    // ASCII only and every control character escaped: file content never forges a log line
    // or reaches a terminal as an escape sequence.
    auto shown = Json(std::string(text.substr(0, cut ? longest : text.size())))
                     .dump(-1, ' ', true, Json::error_handler_t::replace);
    if (cut) {
        shown.insert(shown.size() - 1, "...");
    }
    return shown;
}

std::string child(const std::string& path, std::string_view key) {
    const bool plain =
        !key.empty() && key.size() <= 64 && std::all_of(key.begin(), key.end(), [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
        });
    return plain ? path + "." + std::string(key) : path + "[" + quotedText(key) + "]";
}

std::string element(const std::string& path, size_t i) {
    return path + "[" + std::to_string(i) + "]";
}

std::string describe(const Json& j) {
    if (j.is_string()) {
        return "the string " + quotedText(j.get_ref<const std::string&>());
    }
    if (j.is_number() || j.is_boolean()) {
        return j.dump();
    }
    if (j.is_null()) {
        return "null";
    }
    if (j.is_object() && j.size() == 1 && j.contains("hex") && j["hex"].is_string()) {
        return "{\"hex\": " + quotedText(j["hex"].get_ref<const std::string&>()) + "}";
    }
    return std::string("an ") + (j.is_object() ? "object" : "array");
}

std::string nameList(Names names) {
    std::string out;
    for (const auto& n : names) {
        if (!out.empty()) {
            out += ", ";
        }
        out += n.name;
    }
    return out;
}

Object::Object(const Json& j, std::string path, const std::vector<std::string>& known)
    : j_(j), path_(std::move(path)) {
    if (!j.is_object()) {
        fail(path_, "expected an object, found " + describe(j));
    }
    for (const auto& item : j.items()) {
        if (std::find(known.begin(), known.end(), item.key()) != known.end()) {
            continue;
        }
        std::string expected;
        for (const auto& k : known) {
            expected += (expected.empty() ? "" : ", ") + k;
        }
        fail(child(path_, item.key()), "unknown key; expected one of: " + expected);
    }
}

const Json* Object::find(std::string_view key) const {
    auto it = j_.find(std::string(key));
    return it == j_.end() ? nullptr : &*it;
}

const Json& Object::at(std::string_view key) const {
    if (const Json* v = find(key)) {
        return *v;
    }
    fail(path_, "missing key \"" + std::string(key) + "\"");
}

const Json& array(const Json& j, const std::string& path) {
    if (!j.is_array()) {
        fail(path, "expected an array, found " + describe(j));
    }
    return j;
}

bool readBool(const Json& j, const std::string& path) {
    if (!j.is_boolean()) {
        fail(path, "expected true or false, found " + describe(j));
    }
    return j.get<bool>();
}

int64_t readInteger(const Json& j, const std::string& path, int64_t min, int64_t max) {
    if (!j.is_number_integer()) {
        fail(path, "expected an integer, found " + describe(j));
    }
    bool inRange = false;
    int64_t value = 0;
    if (j.is_number_unsigned()) {
        auto u = j.get<uint64_t>();
        inRange = u <= static_cast<uint64_t>(max) && static_cast<int64_t>(u) >= min;
        value = inRange ? static_cast<int64_t>(u) : max;
    } else {
        value = j.get<int64_t>();
        inRange = value >= min && value <= max;
    }
    if (!inRange) {
        fail(path, j.dump() + " is out of range (" + std::to_string(min) + ".." +
                       std::to_string(max) + ")");
    }
    return value;
}

int32_t readInt32(const Json& j, const std::string& path) {
    return static_cast<int32_t>(readInteger(j, path, std::numeric_limits<int32_t>::min(),
                                            std::numeric_limits<int32_t>::max()));
}

uint32_t readUint32(const Json& j, const std::string& path) {
    return static_cast<uint32_t>(readInteger(j, path, 0, std::numeric_limits<uint32_t>::max()));
}

// Table indexes: a negative value has no place in an OID.
int32_t readIndex(const Json& j, const std::string& path) {
    return static_cast<int32_t>(readInteger(j, path, 1, std::numeric_limits<int32_t>::max()));
}

double readTime(const Json& j, const std::string& path) {
    if (!j.is_number()) {
        fail(path, "expected seconds since 1970 as a number, found " + describe(j));
    }
    double t = j.get<double>();
    if (!std::isfinite(t) || t < 0 || t > latestTime) {
        fail(path, j.dump() + " is not a time (seconds since 1970, 0.." +
                       std::to_string(static_cast<int64_t>(latestTime)) + ")");
    }
    return t;
}

int32_t readEnum(const Json& j, const std::string& path, Names names) {
    if (j.is_string()) {
        const auto& text = j.get_ref<const std::string&>();
        for (const auto& n : names) {
            if (n.name == text) {
                return n.value;
            }
        }
        fail(path, "unknown name " + quotedText(text) + "; expected one of: " + nameList(names) +
                       " (or a number)");
    }
    if (j.is_number_integer()) {
        return readInt32(j, path);
    }
    fail(path, "expected a name (" + nameList(names) + ") or a number, found " + describe(j));
}

// A bit set as a list of bit names or bit numbers; bit k has the value 1 << k.
uint32_t readBits(const Json& j, const std::string& path, Names names, int width) {
    uint32_t bits = 0;
    const auto& list = array(j, path);
    for (size_t i = 0; i < list.size(); ++i) {
        const Json& item = list[i];
        auto itemPath = element(path, i);
        int64_t bit = -1;
        if (item.is_string()) {
            const auto& text = item.get_ref<const std::string&>();
            for (const auto& n : names) {
                if (n.name == text) {
                    bit = n.value;
                }
            }
            if (bit < 0) {
                fail(itemPath, "unknown bit name " + quotedText(text) +
                                   "; expected one of: " + nameList(names) + " (or a bit number)");
            }
        } else if (item.is_number_integer()) {
            bit = readInteger(item, itemPath, 0, width - 1);
        } else {
            fail(itemPath, "expected a bit name or number, found " + describe(item));
        }
        bits |= 1u << bit;
    }
    return bits;
}

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

std::string hexBytes(std::string_view text, const std::string& path) {
    if (text.size() % 2 != 0) {
        fail(path, quotedText(text) + " has an odd number of hex digits (two per byte)");
    }
    std::string bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        int hi = hexDigit(text[i]);
        int lo = hexDigit(text[i + 1]);
        if (hi < 0 || lo < 0) {
            fail(path, "not a hex string: " + quotedText(text));
        }
        bytes.push_back(static_cast<char>(hi * 16 + lo));
    }
    return bytes;
}

} // namespace

namespace {

struct TextHash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const noexcept {
        return std::hash<std::string_view>()(text);
    }
    size_t operator()(const Zim::String8& text) const noexcept { return (*this)(text.view()); }
};
struct TextEqual {
    using is_transparent = void;
    bool operator()(const Zim::String8& a, const Zim::String8& b) const noexcept { return a == b; }
    bool operator()(const Zim::String8& a, std::string_view b) const noexcept {
        return a.view() == b;
    }
    bool operator()(std::string_view a, const Zim::String8& b) const noexcept {
        return a == b.view();
    }
};

thread_local SharedTexts* sharedTexts = nullptr;

} // namespace

struct SharedTexts::Set : std::unordered_set<Zim::String8, TextHash, TextEqual> {};

SharedTexts::SharedTexts() : set_(std::make_unique<Set>()), previous_(sharedTexts) {
    sharedTexts = this;
}

SharedTexts::~SharedTexts() {
    sharedTexts = previous_;
}

Zim::String8 sharedText(std::string_view bytes) {
    if (!sharedTexts) {
        return Zim::String8(bytes);
    }
    auto& set = *sharedTexts->set_;
    if (auto it = set.find(bytes); it != set.end()) {
        return *it;
    }
    return *set.emplace(bytes).first;
}

// An octet string: a JSON string is its UTF-8 bytes, {"hex": "0a0b"} raw bytes.
Zim::String8 readOctets(const Json& j, const std::string& path) {
    if (j.is_string()) {
        return sharedText(j.get_ref<const std::string&>());
    }
    if (j.is_object()) {
        Object o(j, path, {"hex"});
        const Json& hex = o.at("hex");
        if (!hex.is_string()) {
            fail(o.path("hex"), "expected a string, found " + describe(hex));
        }
        return Zim::String8(hexBytes(hex.get_ref<const std::string&>(), o.path("hex")));
    }
    fail(path, "expected a string or {\"hex\": \"...\"}, found " + describe(j));
}

void checkLength(const Json& j, const std::string& path, size_t bytes, size_t most) {
    checkLength(j, path, bytes, 0, most);
}

void checkLength(const Json& j, const std::string& path, size_t bytes, size_t least, size_t most) {
    if (bytes > most) {
        fail(path, describe(j) + " has " + std::to_string(bytes) + " bytes, more than the " +
                       std::to_string(most) + " allowed");
    }
    if (bytes < least) {
        fail(path, describe(j) + " has " + std::to_string(bytes) + " bytes, fewer than the " +
                       std::to_string(least) + " required");
    }
}

void failDuplicate(const std::string& path, const std::string& shown, std::string_view what,
                   std::string_view rule) {
    fail(path, shown + " is a duplicate " + std::string(what) + " (" +
                   std::string(rule.empty() ? "each appears once per list" : rule) + ")");
}

// "aa:bb:cc:dd:ee:ff" (or with dashes) as six bytes.
Zim::String8 readMac(const Json& j, const std::string& path) {
    if (!j.is_string()) {
        return readOctets(j, path);
    }
    const auto& text = j.get_ref<const std::string&>();
    std::string digits;
    bool ok = text.size() == 17;
    for (size_t i = 0; ok && i < text.size(); ++i) {
        if (i % 3 == 2) {
            ok = text[i] == ':' || text[i] == '-';
        } else {
            ok = hexDigit(text[i]) >= 0;
            digits += text[i];
        }
    }
    if (!ok) {
        fail(path, "expected a MAC address such as \"00:00:5e:00:53:01\" (or {\"hex\": ...}), "
                   "found " +
                       describe(j));
    }
    return Zim::String8(hexBytes(digits, path));
}

Zim::String8 readIdOctets(const Json& j, const std::string& path, bool isMac) {
    return isMac ? readMac(j, path) : readOctets(j, path);
}

Zim::String8 readAddress(const Json& j, const std::string& path, int32_t family) {
    if (!j.is_string() || (family != familyIpV4 && family != familyIpV6)) {
        return readOctets(j, path);
    }
    const auto& text = j.get_ref<const std::string&>();
    unsigned char bytes[16];
    if (family == familyIpV4) {
        if (inet_pton(AF_INET, text.c_str(), bytes) != 1) {
            fail(path, "expected an IPv4 address such as \"192.0.2.1\", found " + describe(j));
        }
        return Zim::String8(bytes, 4);
    }
    if (inet_pton(AF_INET6, text.c_str(), bytes) != 1) {
        fail(path, "expected an IPv6 address such as \"2001:db8::1\", found " + describe(j));
    }
    return Zim::String8(bytes, 16);
}

// Dotted sub-identifiers, as net-snmp will have to encode them.
Zim::String8 readOid(const Json& j, const std::string& path) {
    if (!j.is_string()) {
        fail(path, "expected an OID such as \"1.3.6.1.2.1.2.2.1.1\", found " + describe(j));
    }
    std::string_view text = j.get_ref<const std::string&>();
    std::string_view rest = text;
    if (!rest.empty() && rest.front() == '.') {
        rest.remove_prefix(1);
    }
    size_t count = 0;
    uint64_t arcs[2] = {0, 0};
    bool ok = !rest.empty();
    while (ok && !rest.empty()) {
        size_t digits = 0;
        uint64_t value = 0;
        while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9' &&
               value <= 0xffffffffULL) {
            value = value * 10 + static_cast<unsigned>(rest[digits] - '0');
            ++digits;
        }
        ok = digits > 0 && value <= 0xffffffffULL && ++count <= 128;
        if (ok && count <= 2) {
            arcs[count - 1] = value;
        }
        rest.remove_prefix(digits);
        if (ok && !rest.empty()) {
            ok = rest.front() == '.' && rest.size() > 1;
            rest.remove_prefix(1);
        }
    }
    if (!ok || count < 2) {
        fail(path, "expected an OID of 2 to 128 dotted numbers such as \"1.3.6.1.2.1.2.2.1.1\", "
                   "found " +
                       describe(j));
    }
    // BER carries the first two arcs as one sub-identifier, 40 * first + second, of 32 bits.
    if (arcs[0] > 2) {
        fail(path, describe(j) + " cannot be sent: the first number of an OID is 0, 1 or 2");
    }
    if (arcs[0] < 2 && arcs[1] >= 40) {
        fail(path, describe(j) + " cannot be sent: under " + std::to_string(arcs[0]) +
                       " the second number is 0..39");
    }
    if (arcs[1] > 0xffffffffULL - 80) {
        fail(path, describe(j) + " cannot be sent: under 2 the second number is 0..4294967215");
    }
    return sharedText(text);
}

// "00-12-bb", "00:12:bb", {"hex": "0012bb"} or a number.
Lldp::Oui readOui(const Json& j, const std::string& path) {
    if (j.is_number_integer()) {
        return Lldp::Oui(static_cast<uint32_t>(readInteger(j, path, 0, 0xffffff)));
    }
    std::string bytes;
    if (j.is_string()) {
        const auto& text = j.get_ref<const std::string&>();
        std::string digits;
        bool ok = text.size() == 8 && (text[2] == '-' || text[2] == ':') && text[5] == text[2];
        for (size_t i = 0; ok && i < text.size(); ++i) {
            if (i == 2 || i == 5) {
                continue;
            }
            ok = hexDigit(text[i]) >= 0;
            digits += text[i];
        }
        if (!ok) {
            fail(path, "expected an OUI such as \"00-12-bb\", found " + describe(j));
        }
        bytes = hexBytes(digits, path);
    } else {
        bytes = readOctets(j, path).str();
        if (bytes.size() != 3) {
            fail(path,
                 describe(j) + " has " + std::to_string(bytes.size()) + " bytes; an OUI has 3");
        }
    }
    auto b = [&](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])); };
    return Lldp::Oui(b(0) << 16 | b(1) << 8 | b(2));
}

uint16_t readU16(const Json& j, const std::string& path) {
    if (j.is_string()) {
        const auto& text = j.get_ref<const std::string&>();
        if (text.size() > 2 && text.size() <= 6 && text[0] == '0' &&
            (text[1] == 'x' || text[1] == 'X')) {
            uint32_t value = 0;
            bool ok = true;
            for (size_t i = 2; ok && i < text.size(); ++i) {
                int d = hexDigit(text[i]);
                ok = d >= 0;
                value = value * 16 + static_cast<uint32_t>(std::max(d, 0));
            }
            if (ok) {
                return static_cast<uint16_t>(value);
            }
        }
        fail(path, "expected a 16-bit number such as 27648 or \"0x6c00\", found " + describe(j));
    }
    return static_cast<uint16_t>(readInteger(j, path, 0, 0xffff));
}

} // namespace LldpSnmpd
