// The LLDP values in their SNMP encodings: BITS octets, the OUI, transmit port lists, and the
// TLV-received predicates that filter the extension tables.
#include "conv/SnmpConversions.h"

#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/RemoteSystem.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Interface::EthPortId;
using Lldp::PortConfig;

// A caller's buffer, pre-filled so that untouched octets are recognisable.
constexpr unsigned char untouched = 0xaa;

// What convert writes into a large buffer; it must not write past the length it returns.
Bytes encode(const std::function<int(unsigned char*, int)>& convert) {
    std::array<unsigned char, 1024> buf;
    buf.fill(untouched);
    const int n = convert(buf.data(), static_cast<int>(buf.size()));
    EXPECT_GE(n, 0);
    EXPECT_EQ(buf[n], untouched) << "wrote past the length it returned";
    return Bytes(buf.begin(), buf.begin() + n);
}

Bytes linkAgg(uint8_t v) {
    return encode([&](auto b, int l) { return LinkAggStatusMapToAsnBits({v}, b, l); });
}
Bytes sysCap(uint32_t v) {
    return encode([&](auto b, int l) { return SystemCapabilitiesMapToAsnBits({v}, b, l); });
}
Bytes enabledTlvs(uint32_t v) {
    return encode(
        [&](auto b, int l) { return EnabledTlvsToAsnBits(PortConfig::EnabledTlvs(v), b, l); });
}
Bytes dot3Tlvs(uint32_t v) {
    return encode([&](auto b, int l) {
        return Dot3EnabledTlvsToAsnBits(PortConfig::Dot3EnabledTlvs(v), b, l);
    });
}
Bytes autoNeg(unsigned short v) {
    return encode([&](auto b, int l) { return AutoNegAdvertisedCapAsU16ToAsnBits(v, b, l); });
}
Bytes oui(uint32_t v) {
    return encode([&](auto b, int l) { return OuiToAsnOctetString(Lldp::Oui(v), b, l); });
}

// --- BITS and the OUI ----------------------------------------------------------------------

TEST(ConvBits, MemberKBecomesBitsBitKWithLowMembersInTheFirstOctet) {
    for (unsigned k = 0; k < 8; ++k) {
        const unsigned char bit = static_cast<unsigned char>(0x80u >> k);
        EXPECT_EQ(linkAgg(static_cast<uint8_t>(1u << k)), Bytes{bit}) << k;
        EXPECT_EQ(sysCap(1u << k), (Bytes{bit, 0})) << k;
        EXPECT_EQ(sysCap(0x100u << k), (Bytes{0, bit})) << k;
        if (k < 4) {
            EXPECT_EQ(enabledTlvs(1u << k), Bytes{bit}) << k;
            EXPECT_EQ(dot3Tlvs(1u << k), Bytes{bit}) << k;
        }
    }
    // Several members, empty sets (still their full size), storage above 16 bits.
    EXPECT_EQ(linkAgg(0xff), Bytes{0xff});
    EXPECT_EQ(dot3Tlvs(0x5), Bytes{0xa0});
    EXPECT_EQ(enabledTlvs(0x0), Bytes{0x00});
    EXPECT_EQ(dot3Tlvs(0x0), Bytes{0x00});
    EXPECT_EQ(sysCap(0xffff0005u), (Bytes{0xa0, 0x00}));
    // Auto-negotiation capabilities: high octet first, bits as they are.
    EXPECT_EQ(autoNeg(0x8001), (Bytes{0x80, 0x01}));
    EXPECT_EQ(autoNeg(0x0102), (Bytes{0x01, 0x02}));
}

TEST(ConvOui, EncodesInNetworkOrderAndDecodesUnsignedOctets) {
    const std::pair<uint32_t, Bytes> cases[] = {
        {0x000000, {0x00, 0x00, 0x00}}, {0x0080c2, {0x00, 0x80, 0xc2}},
        {0x0180fe, {0x01, 0x80, 0xfe}}, {0xff0000, {0xff, 0x00, 0x00}},
        {0xffffff, {0xff, 0xff, 0xff}},
    };
    for (auto [value, octets] : cases) {
        EXPECT_EQ(oui(value), octets) << std::hex << value;
        EXPECT_EQ(AsnOctetStringToOui(octets.data(), 3).value(), value) << std::hex << value;
    }
}

using ConvBitsDeathTest = ::testing::Test;

TEST_F(ConvBitsDeathTest, ABufferOneOctetShortStopsTheProcessAndAnExactOneFits) {
    unsigned char buf[4] = {untouched, untouched, untouched, untouched};
    EXPECT_EQ(LinkAggStatusMapToAsnBits({0x03}, buf, 1), 1);
    EXPECT_EQ(EnabledTlvsToAsnBits(PortConfig::EnabledTlvs(0x2), buf + 1, 1), 1);
    EXPECT_EQ(Bytes(buf, buf + 3), (Bytes{0xc0, 0x40, untouched}));
    // The auto-negotiation capability answers a short buffer with zero octets.
    EXPECT_EQ(AutoNegAdvertisedCapAsU16ToAsnBits(0x8001, buf, 1), 0);
    EXPECT_EQ(buf[0], 0xc0);

    const char* failed = "assertion \"false\" failed";
    EXPECT_DEATH(SystemCapabilitiesMapToAsnBits({1}, buf, 1), failed);
    EXPECT_DEATH(EnabledTlvsToAsnBits(PortConfig::EnabledTlvs(1), buf, 0), failed);
    EXPECT_DEATH(Dot3EnabledTlvsToAsnBits(PortConfig::Dot3EnabledTlvs(1), buf, 0), failed);
    EXPECT_DEATH(LinkAggStatusMapToAsnBits({1}, buf, 0), failed);
    EXPECT_DEATH(OuiToAsnOctetString(Lldp::Oui(0x0080c2), buf, 2), failed);
    EXPECT_DEATH(AsnOctetStringToOui(buf, 2),
                 "assertion \"len == 3\" failed: Lldp::Oui AsnOctetStringToOui\\(void\\*, U32\\)");
    EXPECT_DEATH(AsnOctetStringToOui(buf, 4), "assertion \"len == 3\" failed");
}

// --- transmit port lists and the published root --------------------------------------------

// Each test publishes its own root; the process-wide one is forgotten around it.
class ConvPortList : public ::testing::Test {
protected:
    void SetUp() override {
        lldpRootResetForTesting();
        root_ = Lldp::Snmp::rootFactory("root");
        lldpRootIs(root_);
    }
    void TearDown() override { lldpRootResetForTesting(); }

    static Zim::Ptr<Lldp::Snmp::PortList> portList(std::initializer_list<uint16_t> ports) {
        auto list = Zim::makePtr<Lldp::Snmp::PortList>("ports");
        for (auto p : ports)
            list->portIdIs(EthPortId(p));
        return list;
    }
    static Bytes encodeList(const Zim::Ptr<const Lldp::Snmp::PortList>& list) {
        return encode([&](auto b, int l) { return PortsTxEnableToAsnOctetString(list, b, l); });
    }
    static Bytes encodePorts(std::initializer_list<uint16_t> ports) {
        return encodeList(portList(ports));
    }

    // A port configuration row for the port, with its flag as given.
    Zim::Ptr<PortConfig> configurePort(uint16_t port, bool manAddrTxEnable) {
        auto config = Zim::makePtr<PortConfig>("Ethernet" + std::to_string(port));
        config->manAddrTxEnableIs(manAddrTxEnable);
        root_->portConfigIs(EthPortId(port), config);
        return config;
    }

    Lldp::Snmp::Root::Ptr root_;
};

TEST_F(ConvPortList, PortNIsBitNOfTheListCountingFromTheHighBitOfTheFirstOctet) {
    Bytes highest(512, 0x00);
    highest.back() = 0x04;
    EXPECT_EQ(encodePorts({1}), Bytes{0x80});
    EXPECT_EQ(encodePorts({8}), Bytes{0x01});
    EXPECT_EQ(encodePorts({9}), (Bytes{0x00, 0x80}));
    EXPECT_EQ(encodePorts({17}), (Bytes{0x00, 0x00, 0x80}));
    EXPECT_EQ(encodePorts({1, 2, 3, 4, 5, 6, 7, 8}), Bytes{0xff});
    EXPECT_EQ(encodePorts({33, 1, 25, 9, 17}), (Bytes{0x80, 0x80, 0x80, 0x80, 0x80}));
    EXPECT_EQ(encodePorts({40, 3, 39, 2}), (Bytes{0x60, 0x00, 0x00, 0x00, 0x03}));
    EXPECT_EQ(encodePorts({EthPortId::max}), highest);
    EXPECT_EQ(encodePorts({0, 3}), Bytes{0x20}) << "port 0 is ignored";
    EXPECT_EQ(encodePorts({0}), Bytes{});
    EXPECT_EQ(encodePorts({}), Bytes{});
}

TEST_F(ConvPortList, PortsAreSentUnlessTheirConfigurationAsReadNowSaysOtherwise) {
    configurePort(1, false);
    configurePort(2, true);
    // Port 3 has no configuration row and is sent; port 4's row refers to no configuration.
    root_->portConfigIs(EthPortId(4), nullptr);
    EXPECT_EQ(encodePorts({1, 2, 3, 4}), Bytes{0x60});

    auto config = configurePort(20, false);
    EXPECT_EQ(encodePorts({2, 20}), Bytes{0x40}) << "a port left out does not lengthen the list";
    config->manAddrTxEnableIs(true);
    EXPECT_EQ(encodePorts({2, 20}), (Bytes{0x40, 0x00, 0x10}));
}

using ConvPortListDeathTest = ConvPortList;

TEST_F(ConvPortListDeathTest, AShortBufferOrAMissingRootStopsTheProcess) {
    unsigned char buf[8] = {untouched, untouched, untouched};
    EXPECT_EQ(PortsTxEnableToAsnOctetString(portList({16}), buf, 2), 2);
    EXPECT_EQ(Bytes(buf, buf + 3), (Bytes{0x00, 0x01, untouched}));
    EXPECT_DEATH(PortsTxEnableToAsnOctetString(portList({17}), buf, 2),
                 "assertion \"newSize <= len\" failed");

    lldpRootResetForTesting();
    // Absent and empty lists need no root.
    EXPECT_EQ(encodeList(nullptr), Bytes{});
    EXPECT_EQ(encodePorts({}), Bytes{});
    EXPECT_DEATH(PortsTxEnableToAsnOctetString(portList({3}), buf, 8),
                 "assertion \"root_\" failed");
    // The root is consulted before the port number is judged.
    EXPECT_DEATH(PortsTxEnableToAsnOctetString(portList({0}), buf, 8),
                 "assertion \"root_\" failed");
}

TEST_F(ConvPortListDeathTest, TheRootIsHeldOnceItIsPublishedAndASecondPublicationStops) {
    lldpRootResetForTesting();
    EXPECT_FALSE(lldpRoot());
    const long before = root_->references();
    lldpRootIs(root_);
    EXPECT_EQ(lldpRoot().get(), root_.get());
    EXPECT_EQ(root_->references(), before + 1);
    EXPECT_DEATH(lldpRootIs(Lldp::Snmp::rootFactory("other")), "assertion \"!root_\" failed");
    EXPECT_DEATH(lldpRootIs(root_), "assertion \"!root_\" failed");
    lldpRootResetForTesting();
    EXPECT_EQ(root_->references(), before);
}

// --- TLV-received predicates --------------------------------------------------------------

using Predicate = bool (*)(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator&);
using FlagSetter = void (Lldp::RemoteSystem::*)(const bool&);

const std::tuple<const char*, Predicate, FlagSetter> tlvFlags[] = {
    {"portVlanId", portVlanIdTlvReceived, &Lldp::RemoteSystem::portVlanIdTlvReceivedIs},
    {"macPhyConfigStatus", macPhyConfigStatusTlvReceived,
     &Lldp::RemoteSystem::macPhyConfigStatusTlvReceivedIs},
    {"powerViaMdi", powerViaMdiTlvReceived, &Lldp::RemoteSystem::powerViaMdiTlvReceivedIs},
    {"linkAggregation", linkAggregationTlvReceived,
     &Lldp::RemoteSystem::linkAggregationTlvReceivedIs},
    {"maximumFrameSize", maximumFrameSizeTlvReceived,
     &Lldp::RemoteSystem::maximumFrameSizeTlvReceivedIs},
};

TEST(ConvTlvReceived, EachPredicateFollowsItsOwnFlagOnlyAndIsFalseWithoutANeighbour) {
    const auto root = Lldp::Snmp::rootFactory("root");
    const auto remote = Zim::makePtr<Lldp::RemoteSystem>("2", 2);
    root->remoteSystemIs({EthPortId(3), 1}, nullptr);
    root->remoteSystemIs({EthPortId(3), 2}, remote);
    const auto withoutNeighbour = root->remoteSystem().begin();
    const auto it = root->remoteSystem().at({EthPortId(3), 2});
    auto past = it;
    ++past;
    for (const auto& [name, predicate, setter] : tlvFlags) {
        (remote.get()->*setter)(true);
        for (const auto& [askedName, asked, unused] : tlvFlags)
            EXPECT_EQ(asked(it), asked == predicate) << askedName << " when " << name << " is set";
        EXPECT_FALSE(predicate(withoutNeighbour)) << name;
        EXPECT_FALSE(predicate(past)) << name;
        EXPECT_FALSE(predicate({})) << name;
        (remote.get()->*setter)(false);
    }
}

} // namespace
