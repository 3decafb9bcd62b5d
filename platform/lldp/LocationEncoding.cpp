#include "platform/lldp/LocationEncoding.h"

#include "platform/zim/Exception.h"

#include <cmath>
#include <sstream>

namespace Lldp {

namespace {

// Appends fields most significant bit first.
class BitWriter {
public:
    void put(uint64_t value, unsigned width) {
        for (unsigned i = width; i-- > 0;) {
            if (used_ % 8 == 0)
                bytes_.push_back('\0');
            if ((value >> i) & 1u)
                bytes_.back() = static_cast<char>(bytes_.back() | (0x80 >> (used_ % 8)));
            ++used_;
        }
    }
    const std::string& bytes() const noexcept { return bytes_; }

private:
    std::string bytes_;
    unsigned used_ = 0;
};

std::string number(double value) {
    std::ostringstream os;
    os << value;
    return os.str();
}

// A value as a two's complement fixed-point number with `fraction` fraction bits in `width`.
uint64_t fixedPoint(double value, unsigned width, unsigned fraction, const char* what) {
    const double scaled = std::round(value * static_cast<double>(1ull << fraction));
    const double limit = static_cast<double>(1ull << (width - 1));
    if (!std::isfinite(scaled) || scaled < -limit || scaled >= limit)
        Zim::throwRangeException(std::string(what) + " " + number(value) + " does not fit");
    const auto raw = static_cast<int64_t>(scaled);
    return static_cast<uint64_t>(raw) & ((1ull << width) - 1);
}

void checkRange(double value, double low, double high, const char* what) {
    if (!(value >= low && value <= high)) {
        Zim::throwRangeException(std::string(what) + " " + number(value) + " is not within " +
                                 number(low) + ".." + number(high));
    }
}

void checkResolution(uint32_t value, uint32_t max, const char* what) {
    if (value > max) {
        Zim::throwRangeException(std::string(what) + " " + std::to_string(value) +
                                 " is more than " + std::to_string(max) + " bits");
    }
}

} // namespace

Zim::String8 encodeCoordinates(const Coordinates& place) {
    checkRange(place.latitude, -90, 90, "latitude");
    checkRange(place.longitude, -180, 180, "longitude");
    checkResolution(place.latitudeResolution, 34, "latitude resolution");
    checkResolution(place.longitudeResolution, 34, "longitude resolution");
    checkResolution(place.altitudeResolution, 30, "altitude resolution");
    if (place.altitudeType < 0 || place.altitudeType > 2)
        Zim::throwRangeException("altitude type " + std::to_string(place.altitudeType) +
                                 " is not 0 (none), 1 (meters) or 2 (floors)");
    if (place.datum < 1 || place.datum > 3)
        Zim::throwRangeException("datum " + std::to_string(place.datum) + " is not 1..3");
    BitWriter out;
    out.put(place.latitudeResolution, 6);
    out.put(fixedPoint(place.latitude, 34, 25, "latitude"), 34);
    out.put(place.longitudeResolution, 6);
    out.put(fixedPoint(place.longitude, 34, 25, "longitude"), 34);
    out.put(static_cast<uint64_t>(place.altitudeType), 4);
    out.put(place.altitudeResolution, 6);
    out.put(fixedPoint(place.altitude, 30, 8, "altitude"), 30);
    out.put(static_cast<uint64_t>(place.datum), 8);
    return Zim::String8(out.bytes());
}

Zim::String8 encodeCivicAddress(const CivicAddress& address) {
    if (address.what < 0 || address.what > 2)
        Zim::throwRangeException("what " + std::to_string(address.what) + " is not 0..2");
    if (address.country.size() != 2 ||
        !std::isalpha(static_cast<unsigned char>(address.country[0])) ||
        !std::isalpha(static_cast<unsigned char>(address.country[1]))) {
        Zim::throwRangeException("country \"" + address.country +
                                 "\" is not a two-letter country code");
    }
    std::string body;
    body.push_back(static_cast<char>(address.what));
    body += address.country;
    for (const auto& [type, value] : address.elements) {
        if (type > 255)
            Zim::throwRangeException("civic address type " + std::to_string(type) +
                                     " is not 0..255");
        if (value.size() > 255)
            Zim::throwRangeException("civic address element of type " + std::to_string(type) +
                                     " is longer than 255 bytes");
        body.push_back(static_cast<char>(type));
        body.push_back(static_cast<char>(value.size()));
        body += value;
    }
    // The LCI length octet counts what follows it; the whole must fit the 256-octet column.
    if (body.size() > 255)
        Zim::throwRangeException("civic address of " + std::to_string(body.size() + 1) +
                                 " bytes is longer than 256");
    return Zim::String8(std::string(1, static_cast<char>(body.size())) + body);
}

Zim::String8 encodeElin(std::string_view digits) {
    if (digits.size() < 10 || digits.size() > 25)
        Zim::throwRangeException("ELIN of " + std::to_string(digits.size()) +
                                 " digits, expected 10 to 25");
    for (char c : digits) {
        if (c < '0' || c > '9')
            Zim::throwRangeException("ELIN \"" + std::string(digits) + "\" is not only digits");
    }
    return Zim::String8(std::string(digits));
}

} // namespace Lldp
