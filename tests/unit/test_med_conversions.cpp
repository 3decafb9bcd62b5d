// The LLDP-MED encodings: the application type as a two-octet BITS index and its order in the
// policy tables, the capabilities BITS, and the three location formats.
#include "conv/MedConversions.h"

#include "model/SubKeys.h"
#include "platform/lldp/LocationEncoding.h"
#include "platform/zim/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes appTypeIndex(uint32_t type) {
    unsigned char buf[1024];
    const int n = PolicyAppTypeToAsnBits(Lldp::PolicyAppType(type), buf, sizeof buf);
    return Bytes(buf, buf + n);
}

Bytes bytesOf(const Zim::String8& s) {
    return Bytes(s.view().begin(), s.view().end());
}

Bytes hex(const std::string& text) {
    Bytes out;
    for (size_t i = 0; i < text.size(); i += 2) {
        out.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    }
    return out;
}

TEST(PolicyAppTypeIndex, EveryTypeIsTwoOctetsWithItsOneBit) {
    EXPECT_EQ(appTypeIndex(0), (Bytes{0x80, 0x00})); // unknown
    EXPECT_EQ(appTypeIndex(1), (Bytes{0x40, 0x00})); // voice
    EXPECT_EQ(appTypeIndex(7), (Bytes{0x01, 0x00})); // streamingVideo
    EXPECT_EQ(appTypeIndex(8), (Bytes{0x00, 0x80})); // videoSignaling
    EXPECT_THROW(Lldp::PolicyAppType(9), Zim::RangeException);
}

TEST(PolicyAppTypeIndex, DecodesExactlyWhatItEncodes) {
    for (uint32_t type = 0; type <= 8; ++type) {
        const Bytes index = appTypeIndex(type);
        EXPECT_EQ(AsnOctetStringToPolicyAppType(index.data(), index.size()).value(), type);
    }
    const std::vector<Bytes> refused = {
        {}, {0x40}, {0x40, 0x00, 0x00}, {0x00, 0x00}, {0x60, 0x00}, {0x00, 0x40}, {0x00, 0x01}};
    for (const Bytes& bad : refused) {
        EXPECT_THROW(AsnOctetStringToPolicyAppType(bad.data(), bad.size()), Zim::RangeException)
            << bad.size() << " octets";
    }
}

TEST(PolicyAppTypeIndex, KeysOrderAsTheirOidsDo) {
    using Key = Lldp::Snmp::LocalMediaPolicyKey;
    const Interface::EthPortId one(1), two(2);
    std::vector<Key> keys = {{two, Lldp::PolicyAppType(0)},
                             {one, Lldp::PolicyAppType(1)},
                             {one, Lldp::PolicyAppType(8)},
                             {one, Lldp::PolicyAppType(0)},
                             {two, Lldp::PolicyAppType(8)}};
    std::sort(keys.begin(), keys.end());
    // The port dominates; within it the index octets, so the highest type comes first.
    std::vector<std::pair<uint16_t, Bytes>> order;
    for (const Key& k : keys) {
        order.emplace_back(k.ethPortId.value(), appTypeIndex(k.sub.value()));
    }
    std::vector<std::pair<uint16_t, Bytes>> byOid = order;
    std::sort(byOid.begin(), byOid.end());
    EXPECT_EQ(order, byOid);
    EXPECT_EQ(keys.front().sub.value(), 8);
    EXPECT_EQ(keys[2].sub.value(), 0);
}

TEST(MedCapabilitiesBits, MemberKIsBitsBitK) {
    unsigned char buf[4] = {0xaa, 0xaa, 0xaa, 0xaa};
    EXPECT_EQ(MedCapabilitiesToAsnBits({0x21}, buf, sizeof buf), 1); // capabilities, inventory
    EXPECT_EQ(buf[0], 0x84);
    EXPECT_EQ(buf[1], 0xaa);
}

TEST(LocationEncoding, CoordinatesAreSixteenOctetsOfFixedPointFields) {
    Lldp::Coordinates place;
    place.latitude = 1.0;
    place.longitude = -1.0;
    place.altitude = 2.0;
    EXPECT_EQ(bytesOf(Lldp::encodeCoordinates(place)), hex("88020000008bfe000000178000020001"));
    place.latitude = 38.89868;
    place.longitude = -77.03723;
    place.altitude = 3;
    place.altitudeType = 2; // floors
    EXPECT_EQ(bytesOf(Lldp::encodeCoordinates(place)), hex("884dcc1fc98b65ecf030278000030001"));
}

TEST(LocationEncoding, CoordinatesRefuseWhatTheFormatCannotCarry) {
    auto refused = [](auto change) {
        Lldp::Coordinates place;
        change(place);
        EXPECT_THROW(Lldp::encodeCoordinates(place), Zim::RangeException);
    };
    refused([](auto& p) { p.latitude = 90.5; });
    refused([](auto& p) { p.longitude = -180.01; });
    refused([](auto& p) { p.altitude = 2097152; }); // 22 integer bits, signed
    refused([](auto& p) { p.latitudeResolution = 35; });
    refused([](auto& p) { p.datum = 4; });
    refused([](auto& p) { p.altitudeType = 3; });
}

TEST(LocationEncoding, CivicAddressIsLengthWhatCountryThenElements) {
    Lldp::CivicAddress address{2, "US", {{3, "Example City"}, {19, "100"}}};
    const std::string body = std::string("\x02US\x03\x0c") + "Example City" + "\x13\x03" + "100";
    Bytes expected{static_cast<unsigned char>(body.size())};
    expected.insert(expected.end(), body.begin(), body.end());
    EXPECT_EQ(bytesOf(Lldp::encodeCivicAddress(address)), expected);
    Lldp::CivicAddress tooLong{1, "US", {{3, std::string(252, 'x')}}};
    EXPECT_THROW(Lldp::encodeCivicAddress(tooLong), Zim::RangeException);
    tooLong.elements[0].second.resize(250); // 1 + 1 + 2 + 2 + 250 = 256 octets: the most
    EXPECT_EQ(Lldp::encodeCivicAddress(tooLong).size(), 256u);
    EXPECT_THROW(Lldp::encodeCivicAddress({1, "USA", {}}), Zim::RangeException);
    EXPECT_THROW(Lldp::encodeCivicAddress({3, "US", {}}), Zim::RangeException);
}

TEST(LocationEncoding, ElinIsTenToTwentyFiveDigits) {
    EXPECT_EQ(Lldp::encodeElin("5550102041").str(), "5550102041");
    EXPECT_EQ(Lldp::encodeElin(std::string(25, '9')).size(), 25u);
    EXPECT_THROW(Lldp::encodeElin("555010204"), Zim::RangeException);
    EXPECT_THROW(Lldp::encodeElin(std::string(26, '9')), Zim::RangeException);
    EXPECT_THROW(Lldp::encodeElin("555010204x"), Zim::RangeException);
}

} // namespace
