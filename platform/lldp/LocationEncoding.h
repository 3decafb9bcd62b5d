#pragma once
// The three LLDP-MED location formats, built from what an operator knows about a place: the
// coordinates of RFC 3825 (16 octets), a civic address as RFC 4776 lays it out (LCI length,
// what, country code, then type-length-value elements), and an emergency location
// identification number (ELIN, 10 to 25 digits). Each refuses what the format cannot carry
// with the range exception, naming the value.
#include "platform/zim/String8.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Lldp {

struct Coordinates {
    double latitude = 0;      // degrees, -90..90, north positive
    double longitude = 0;     // degrees, -180..180, east positive
    double altitude = 0;      // in altitudeType units
    int32_t altitudeType = 1; // 0 none, 1 meters, 2 floors
    int32_t datum = 1;        // 1 WGS84, 2 NAD83/NAVD88, 3 NAD83/MLLW
    // Significant bits of each value (RFC 3825's resolutions).
    uint32_t latitudeResolution = 34;
    uint32_t longitudeResolution = 34;
    uint32_t altitudeResolution = 30;
};

struct CivicAddress {
    int32_t what = 1;    // 0 the DHCP server, 1 the network element, 2 the client
    std::string country; // two letters, ISO 3166
    std::vector<std::pair<uint32_t, std::string>> elements; // CAtype 0..255, CAvalue
};

Zim::String8 encodeCoordinates(const Coordinates& place);
Zim::String8 encodeCivicAddress(const CivicAddress& address);
Zim::String8 encodeElin(std::string_view digits);

} // namespace Lldp
