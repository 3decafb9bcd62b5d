#pragma once
// Readers of single JSON values of a state file into the platform's types. Each takes the
// value and its JSON path and throws StateError naming that path when the value is refused.
#include "state/MibNames.h"
#include "state/StateParser.h"

#include "platform/lldp/Values.h"
#include "platform/zim/Exception.h"
#include "platform/zim/String8.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace LldpSnmpd {

using Json = nlohmann::json;

[[noreturn]] void fail(const std::string& path, std::string reason);
// Text from the file as a message shows it: quoted, escaped, at most 44 characters of it.
std::string quotedText(std::string_view text);
// A member's path: ".key", or ["key"] quoted when the key is not a plain name.
std::string child(const std::string& path, std::string_view key);
std::string element(const std::string& path, size_t i);
// A value as a message shows it: strings quoted and shortened, containers by kind.
std::string describe(const Json& j);
std::string nameList(Names names);

// An object whose keys are all known; a misspelt key is refused, never ignored.
class Object {
public:
    Object(const Json& j, std::string path, const std::vector<std::string>& known);

    const Json* find(std::string_view key) const;
    const Json& at(std::string_view key) const;
    std::string path(std::string_view key) const { return child(path_, key); }
    const std::string& path() const noexcept { return path_; }

private:
    const Json& j_;
    std::string path_;
};

const Json& array(const Json& j, const std::string& path);

bool readBool(const Json& j, const std::string& path);
int64_t readInteger(const Json& j, const std::string& path, int64_t min, int64_t max);
int32_t readInt32(const Json& j, const std::string& path);
uint32_t readUint32(const Json& j, const std::string& path);
// Table indexes: a negative value has no place in an OID.
int32_t readIndex(const Json& j, const std::string& path);
// The last second of the year 9999.
inline constexpr double latestTime = 253402300799.0;
// Seconds since 1970, 0..latestTime.
double readTime(const Json& j, const std::string& path);
// A name of names, or any 32-bit number.
int32_t readEnum(const Json& j, const std::string& path, Names names);
// A bit set as a list of bit names or bit numbers below width; bit k has the value 1 << k.
uint32_t readBits(const Json& j, const std::string& path, Names names, int width);
// An octet string: a JSON string is its UTF-8 bytes, {"hex": "0a0b"} raw bytes.
Zim::String8 readOctets(const Json& j, const std::string& path);
// Refuses more than most bytes of the value j was read into (or fewer than least).
void checkLength(const Json& j, const std::string& path, size_t bytes, size_t most);
void checkLength(const Json& j, const std::string& path, size_t bytes, size_t least, size_t most);
// A value given twice where each may appear once: "<shown> is a duplicate <what> (<rule>)".
[[noreturn]] void failDuplicate(const std::string& path, const std::string& shown,
                                std::string_view what, std::string_view rule = "");
// "aa:bb:cc:dd:ee:ff" (or with dashes) as six bytes, or octets.
Zim::String8 readMac(const Json& j, const std::string& path);
Zim::String8 readIdOctets(const Json& j, const std::string& path, bool isMac);
// Text form for IPv4 and IPv6 families, octets otherwise.
Zim::String8 readAddress(const Json& j, const std::string& path, int32_t family);
// Dotted sub-identifiers, as net-snmp will have to encode them.
Zim::String8 readOid(const Json& j, const std::string& path);
// While one lives, equal texts read on this thread share one string: many neighbours send the
// same system description, port description or VLAN name.
class SharedTexts {
public:
    SharedTexts();
    ~SharedTexts();
    SharedTexts(const SharedTexts&) = delete;
    SharedTexts& operator=(const SharedTexts&) = delete;

private:
    friend Zim::String8 sharedText(std::string_view bytes);
    struct Set;
    std::unique_ptr<Set> set_;
    SharedTexts* previous_;
};
// The bytes as a string, the one already read when a SharedTexts lives and has them.
Zim::String8 sharedText(std::string_view bytes);

// "00-12-bb", "00:12:bb", {"hex": "0012bb"} or a number.
Lldp::Oui readOui(const Json& j, const std::string& path);
// A number or "0x6c00".
uint16_t readU16(const Json& j, const std::string& path);

// Runs a platform constructor; its range error names what was wrong at this path.
template <class F> auto checked(const std::string& path, F&& make) {
    try {
        return make();
    } catch (const Zim::RangeException& e) {
        fail(path, e.what());
    }
}

template <class Key>
void unique(std::set<Key>& seen, const Key& key, const std::string& path, std::string_view what,
            std::string_view rule = "") {
    if (!seen.insert(key).second) {
        failDuplicate(path, std::to_string(key), what, rule);
    }
}

} // namespace LldpSnmpd
