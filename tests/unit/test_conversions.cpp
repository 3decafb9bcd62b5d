// The LLDP values in their SNMP encodings: BITS octets, the OUI, transmit port lists, and the
// TLV-received predicates that filter the extension tables.
#include "conv/SnmpConversions.h"

#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/RemoteSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Interface::EthPortId;

// A caller's buffer, pre-filled so that untouched octets are recognisable.
constexpr unsigned char untouched = 0xaa;
constexpr int bufferSize = 1024;

struct Buffer {
    std::array<unsigned char, bufferSize> octets;
    Buffer() { octets.fill(untouched); }
    unsigned char* data() { return octets.data(); }
    Bytes first(int n) const { return Bytes(octets.begin(), octets.begin() + n); }
};

template <class Convert> Bytes encode(Convert convert) {
    Buffer buf;
    const int n = convert(buf.data(), bufferSize);
    EXPECT_GE(n, 0);
    EXPECT_EQ(buf.octets[n], untouched) << "wrote past the length it returned";
    return buf.first(n);
}

Bytes sysCapBits(uint32_t value) {
    return encode([&](unsigned char* b, int l) {
        return SystemCapabilitiesMapToAsnBits(Lldp::SystemCapabilitiesMap{value}, b, l);
    });
}

Bytes linkAggBits(uint8_t value) {
    return encode([&](unsigned char* b, int l) {
        return LinkAggStatusMapToAsnBits(Lldp::LinkAggStatusMap{value}, b, l);
    });
}

// --- BITS ---------------------------------------------------------------------------------

TEST(ConvBits, MemberKOfAnOctetBecomesBitsBitK) {
    EXPECT_EQ(linkAggBits(0x01), Bytes{0x80});
    EXPECT_EQ(linkAggBits(0x0f), Bytes{0xf0});
    EXPECT_EQ(linkAggBits(0x12), Bytes{0x48});
    EXPECT_EQ(linkAggBits(0x80), Bytes{0x01});
    EXPECT_EQ(linkAggBits(0xff), Bytes{0xff});
    EXPECT_EQ(linkAggBits(0x00), Bytes{0x00});
}

TEST(ConvBits, EveryOctetValueReversesBitForBit) {
    for (unsigned value = 0; value < 256; ++value) {
        unsigned expected = 0;
        for (unsigned k = 0; k < 8; ++k) {
            if (value & (1u << k))
                expected |= 0x80u >> k;
        }
        EXPECT_EQ(linkAggBits(static_cast<uint8_t>(value)),
                  Bytes{static_cast<unsigned char>(expected)})
            << "value " << value;
    }
}

TEST(ConvBits, SystemCapabilitiesAreAlwaysTwoOctetsLowMembersFirst) {
    EXPECT_EQ(sysCapBits(0x0001), (Bytes{0x80, 0x00}));
    EXPECT_EQ(sysCapBits(0x0014), (Bytes{0x28, 0x00}));
    EXPECT_EQ(sysCapBits(0x0100), (Bytes{0x00, 0x80}));
    EXPECT_EQ(sysCapBits(0x8000), (Bytes{0x00, 0x01}));
    EXPECT_EQ(sysCapBits(0x0000), (Bytes{0x00, 0x00}));
}

TEST(ConvBits, SystemCapabilitiesIgnoreStorageAboveSixteenBits) {
    EXPECT_EQ(sysCapBits(0xffff0000u), (Bytes{0x00, 0x00}));
    EXPECT_EQ(sysCapBits(0x00010004u), (Bytes{0x20, 0x00}));
}

TEST(ConvBits, EnabledTlvSetsAreOneOctetEvenWhenEmpty) {
    auto basic = [](uint32_t v) {
        return encode([&](unsigned char* b, int l) {
            return EnabledTlvsToAsnBits(Lldp::PortConfig::EnabledTlvs(v), b, l);
        });
    };
    auto dot3 = [](uint32_t v) {
        return encode([&](unsigned char* b, int l) {
            return Dot3EnabledTlvsToAsnBits(Lldp::PortConfig::Dot3EnabledTlvs(v), b, l);
        });
    };
    EXPECT_EQ(basic(0x0), Bytes{0x00});
    EXPECT_EQ(basic(0xf), Bytes{0xf0});
    EXPECT_EQ(basic(0x1), Bytes{0x80});
    EXPECT_EQ(basic(0x8), Bytes{0x10});
    EXPECT_EQ(dot3(0x0), Bytes{0x00});
    EXPECT_EQ(dot3(0x5), Bytes{0xa0});
    EXPECT_EQ(dot3(0xf), Bytes{0xf0});
}

TEST(ConvBits, OneOctetConversionsFitAOneOctetBuffer) {
    unsigned char one = untouched;
    EXPECT_EQ(LinkAggStatusMapToAsnBits(Lldp::LinkAggStatusMap{0x03}, &one, 1), 1);
    EXPECT_EQ(one, 0xc0);
    EXPECT_EQ(EnabledTlvsToAsnBits(Lldp::PortConfig::EnabledTlvs(0x2), &one, 1), 1);
    EXPECT_EQ(one, 0x40);
}

TEST(ConvBits, AutoNegCapabilityIsWrittenHighOctetFirstWithoutReversal) {
    auto autoNeg = [](unsigned short v) {
        return encode(
            [&](unsigned char* b, int l) { return AutoNegAdvertisedCapAsU16ToAsnBits(v, b, l); });
    };
    EXPECT_EQ(autoNeg(0x8001), (Bytes{0x80, 0x01}));
    EXPECT_EQ(autoNeg(0x0102), (Bytes{0x01, 0x02}));
    EXPECT_EQ(autoNeg(0x0000), (Bytes{0x00, 0x00}));
}

TEST(ConvBits, AutoNegCapabilityReturnsZeroAndWritesNothingIntoAShortBuffer) {
    Buffer buf;
    const unsigned short value = 0x8001;
    EXPECT_EQ(AutoNegAdvertisedCapAsU16ToAsnBits(value, buf.data(), 1), 0);
    EXPECT_EQ(AutoNegAdvertisedCapAsU16ToAsnBits(value, buf.data(), 0), 0);
    EXPECT_EQ(buf.first(2), (Bytes{untouched, untouched}));
}

using ConvBitsDeathTest = ::testing::Test;

TEST_F(ConvBitsDeathTest, ShortBufferStopsTheProcessWithAssertionFalse) {
    unsigned char buf[2] = {};
    EXPECT_DEATH(SystemCapabilitiesMapToAsnBits(Lldp::SystemCapabilitiesMap{1}, buf, 1),
                 "assertion \"false\" failed: int SystemCapabilitiesMapToAsnBits");
    EXPECT_DEATH(EnabledTlvsToAsnBits(Lldp::PortConfig::EnabledTlvs(1), buf, 0),
                 "assertion \"false\" failed: int EnabledTlvsToAsnBits");
    EXPECT_DEATH(Dot3EnabledTlvsToAsnBits(Lldp::PortConfig::Dot3EnabledTlvs(1), buf, 0),
                 "assertion \"false\" failed: int Dot3EnabledTlvsToAsnBits");
    EXPECT_DEATH(LinkAggStatusMapToAsnBits(Lldp::LinkAggStatusMap{1}, buf, 0),
                 "assertion \"false\" failed: int LinkAggStatusMapToAsnBits");
    EXPECT_DEATH(OuiToAsnOctetString(Lldp::Oui(0x0080c2), buf, 2),
                 "assertion \"false\" failed: int OuiToAsnOctetString");
}

// --- OUI ----------------------------------------------------------------------------------

Bytes ouiOctets(uint32_t value) {
    return encode(
        [&](unsigned char* b, int l) { return OuiToAsnOctetString(Lldp::Oui(value), b, l); });
}

TEST(ConvOui, EncodesInNetworkOrder) {
    EXPECT_EQ(ouiOctets(0x0080c2), (Bytes{0x00, 0x80, 0xc2}));
    EXPECT_EQ(ouiOctets(0x00120f), (Bytes{0x00, 0x12, 0x0f}));
    EXPECT_EQ(ouiOctets(0xff0001), (Bytes{0xff, 0x00, 0x01}));
}

TEST(ConvOui, DecodesThreeOctetsAsUnsignedBytes) {
    unsigned char dot1[] = {0x00, 0x80, 0xc2};
    EXPECT_EQ(AsnOctetStringToOui(dot1, 3).value(), 0x0080c2u);
    // Octets with the high bit set must not sign-extend into their neighbours.
    unsigned char high[] = {0x01, 0x80, 0xfe};
    EXPECT_EQ(AsnOctetStringToOui(high, 3).value(), 0x0180feu);
    unsigned char top[] = {0xff, 0x00, 0x00};
    EXPECT_EQ(AsnOctetStringToOui(top, 3).value(), 0xff0000u);
}

TEST(ConvOui, RoundTripsThroughItsOctetString) {
    for (uint32_t value : {0x000000u, 0x0080c2u, 0x00120fu, 0xabcdefu, 0xffffffu}) {
        unsigned char buf[3];
        ASSERT_EQ(OuiToAsnOctetString(Lldp::Oui(value), buf, 3), 3);
        EXPECT_EQ(AsnOctetStringToOui(buf, 3).value(), value);
    }
}

using ConvOuiDeathTest = ::testing::Test;

TEST_F(ConvOuiDeathTest, DecodingAnythingButThreeOctetsStopsTheProcess) {
    unsigned char buf[4] = {0x00, 0x80, 0xc2, 0x01};
    EXPECT_DEATH(AsnOctetStringToOui(buf, 2),
                 "assertion \"len == 3\" failed: Lldp::Oui AsnOctetStringToOui\\(void\\*, U32\\)");
    EXPECT_DEATH(AsnOctetStringToOui(buf, 4), "assertion \"len == 3\" failed");
}

// --- transmit port lists ------------------------------------------------------------------

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
        return encode(
            [&](unsigned char* b, int l) { return PortsTxEnableToAsnOctetString(list, b, l); });
    }
    static Bytes encodePorts(std::initializer_list<uint16_t> ports) {
        return encodeList(portList(ports));
    }

    // A port configuration row for the port, referring to a configuration with the flag set
    // as given.
    Zim::Ptr<Lldp::PortConfig> configurePort(uint16_t port, bool manAddrTxEnable) {
        auto config = Zim::makePtr<Lldp::PortConfig>("Ethernet" + std::to_string(port));
        config->manAddrTxEnableIs(manAddrTxEnable);
        root_->portConfigIs(EthPortId(port), config);
        return config;
    }

    Lldp::Snmp::Root::Ptr root_;
};

TEST_F(ConvPortList, PortOneIsTheHighBitOfTheFirstOctet) {
    EXPECT_EQ(encodePorts({1}), Bytes{0x80});
    EXPECT_EQ(encodePorts({8}), Bytes{0x01});
}

TEST_F(ConvPortList, EachOctetHoldsEightPorts) {
    EXPECT_EQ(encodePorts({1, 10}), (Bytes{0x80, 0x40}));
    EXPECT_EQ(encodePorts({9}), (Bytes{0x00, 0x80}));
    EXPECT_EQ(encodePorts({16}), (Bytes{0x00, 0x01}));
    EXPECT_EQ(encodePorts({17}), (Bytes{0x00, 0x00, 0x80}));
}

TEST_F(ConvPortList, PortsSharingAnOctetAreAllKeptWhateverTheVisitingOrder) {
    EXPECT_EQ(encodePorts({1, 2, 3, 4, 5, 6, 7, 8}), Bytes{0xff});
    EXPECT_EQ(encodePorts({33, 1, 25, 9, 17}), (Bytes{0x80, 0x80, 0x80, 0x80, 0x80}));
    EXPECT_EQ(encodePorts({40, 3, 39, 2}), (Bytes{0x60, 0x00, 0x00, 0x00, 0x03}));
}

TEST_F(ConvPortList, TheHighestPortMakesTheLongestList) {
    Bytes expected(512, 0x00);
    expected.back() = 0x04;
    EXPECT_EQ(encodePorts({EthPortId::max}), expected);
}

TEST_F(ConvPortList, PortZeroIsIgnored) {
    EXPECT_EQ(encodePorts({0}), Bytes{});
    EXPECT_EQ(encodePorts({0, 3}), Bytes{0x20});
}

TEST_F(ConvPortList, EmptyOrAbsentListsAreZeroOctets) {
    EXPECT_EQ(encodePorts({}), Bytes{});
    EXPECT_EQ(encodeList(nullptr), Bytes{});
}

TEST_F(ConvPortList, AbsentListNeedsNoRoot) {
    lldpRootResetForTesting();
    EXPECT_EQ(encodeList(nullptr), Bytes{});
    EXPECT_EQ(encodePorts({}), Bytes{});
}

TEST_F(ConvPortList, PortsAreSentUnlessTheirConfigurationSaysOtherwise) {
    configurePort(1, false);
    configurePort(2, true);
    // Port 3 has no configuration row and is sent.
    EXPECT_EQ(encodePorts({1, 2, 3}), Bytes{0x60});
}

TEST_F(ConvPortList, AHighPortLeftOutDoesNotLengthenTheList) {
    configurePort(20, false);
    EXPECT_EQ(encodePorts({2, 20}), Bytes{0x40});
    EXPECT_EQ(encodePorts({20}), Bytes{});
}

TEST_F(ConvPortList, TheFlagIsReadFromTheAgentConfigurationAtEachConversion) {
    auto config = configurePort(5, false);
    const auto list = portList({5});
    EXPECT_EQ(encodeList(list), Bytes{});
    config->manAddrTxEnableIs(true);
    EXPECT_EQ(encodeList(list), Bytes{0x08});
}

TEST_F(ConvPortList, ARowReferringToNoConfigurationIsLeftOut) {
    root_->portConfigIs(EthPortId(4), nullptr);
    EXPECT_EQ(encodePorts({4}), Bytes{});
}

TEST_F(ConvPortList, OctetsBeyondTheResultAreLeftAsTheCallerHadThem) {
    Buffer buf;
    ASSERT_EQ(PortsTxEnableToAsnOctetString(portList({1, 17}), buf.data(), bufferSize), 3);
    EXPECT_EQ(buf.first(4), (Bytes{0x80, 0x00, 0x80, untouched}));
    EXPECT_EQ(buf.octets.back(), untouched);
}

TEST_F(ConvPortList, AListThatExactlyFillsTheBufferFits) {
    unsigned char buf[2] = {untouched, untouched};
    EXPECT_EQ(PortsTxEnableToAsnOctetString(portList({16}), buf, 2), 2);
    EXPECT_EQ(Bytes(buf, buf + 2), (Bytes{0x00, 0x01}));
}

using ConvPortListDeathTest = ConvPortList;

TEST_F(ConvPortListDeathTest, AListLongerThanTheBufferStopsTheProcess) {
    unsigned char buf[2] = {};
    EXPECT_DEATH(PortsTxEnableToAsnOctetString(portList({17}), buf, 2),
                 "assertion \"newSize <= len\" failed");
}

TEST_F(ConvPortListDeathTest, APortWithoutAPublishedRootStopsTheProcess) {
    lldpRootResetForTesting();
    unsigned char buf[8] = {};
    EXPECT_DEATH(PortsTxEnableToAsnOctetString(portList({3}), buf, 8),
                 "assertion \"root_\" failed");
    // The root is consulted before the port number is judged.
    EXPECT_DEATH(PortsTxEnableToAsnOctetString(portList({0}), buf, 8),
                 "assertion \"root_\" failed");
}

// --- the published root -------------------------------------------------------------------

class ConvRoot : public ::testing::Test {
protected:
    void SetUp() override { lldpRootResetForTesting(); }
    void TearDown() override { lldpRootResetForTesting(); }
};

TEST_F(ConvRoot, IsNullUntilPublishedAndThenTheRootGiven) {
    EXPECT_FALSE(lldpRoot());
    auto root = Lldp::Snmp::rootFactory("root");
    lldpRootIs(root);
    EXPECT_EQ(lldpRoot().get(), root.get());
}

TEST_F(ConvRoot, HoldsAReferenceOnThePublishedRoot) {
    auto root = Lldp::Snmp::rootFactory("root");
    const long before = root->references();
    lldpRootIs(root);
    EXPECT_EQ(root->references(), before + 1);
    lldpRootResetForTesting();
    EXPECT_EQ(root->references(), before);
}

using ConvRootDeathTest = ConvRoot;

TEST_F(ConvRootDeathTest, ASecondPublicationStopsTheProcess) {
    auto root = Lldp::Snmp::rootFactory("root");
    lldpRootIs(root);
    EXPECT_DEATH(lldpRootIs(Lldp::Snmp::rootFactory("other")), "assertion \"!root_\" failed");
    EXPECT_DEATH(lldpRootIs(root), "assertion \"!root_\" failed");
}

// --- TLV-received predicates --------------------------------------------------------------

using Predicate = bool (*)(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator&);
using FlagSetter = void (Lldp::RemoteSystem::*)(const bool&);

struct TlvFlag {
    const char* name;
    Predicate predicate;
    FlagSetter setter;
};

const TlvFlag tlvFlags[] = {
    {"portVlanId", portVlanIdTlvReceived, &Lldp::RemoteSystem::portVlanIdTlvReceivedIs},
    {"macPhyConfigStatus", macPhyConfigStatusTlvReceived,
     &Lldp::RemoteSystem::macPhyConfigStatusTlvReceivedIs},
    {"powerViaMdi", powerViaMdiTlvReceived, &Lldp::RemoteSystem::powerViaMdiTlvReceivedIs},
    {"linkAggregation", linkAggregationTlvReceived,
     &Lldp::RemoteSystem::linkAggregationTlvReceivedIs},
    {"maximumFrameSize", maximumFrameSizeTlvReceived,
     &Lldp::RemoteSystem::maximumFrameSizeTlvReceivedIs},
};

class ConvTlvReceived : public ::testing::Test {
protected:
    Lldp::Snmp::Root::Ptr root_ = Lldp::Snmp::rootFactory("root");
    const Lldp::Snmp::RemoteSystemKey key_{EthPortId(3), 1};
};

TEST_F(ConvTlvReceived, EachPredicateAnswersItsOwnFlagOnly) {
    for (const auto& sent : tlvFlags) {
        auto remote = Zim::makePtr<Lldp::RemoteSystem>("1", 1);
        (remote.get()->*sent.setter)(true);
        root_->remoteSystemDelAll();
        root_->remoteSystemIs(key_, remote);
        const auto it = root_->remoteSystem().begin();
        for (const auto& asked : tlvFlags) {
            EXPECT_EQ(asked.predicate(it), &asked == &sent)
                << asked.name << " asked when only " << sent.name << " was received";
        }
    }
}

TEST_F(ConvTlvReceived, PredicatesFollowTheAgentEntityAsItChanges) {
    auto remote = Zim::makePtr<Lldp::RemoteSystem>("1", 1);
    root_->remoteSystemIs(key_, remote);
    const auto it = root_->remoteSystem().begin();
    for (const auto& flag : tlvFlags) {
        EXPECT_FALSE(flag.predicate(it)) << flag.name;
        (remote.get()->*flag.setter)(true);
        EXPECT_TRUE(flag.predicate(it)) << flag.name;
        (remote.get()->*flag.setter)(false);
        EXPECT_FALSE(flag.predicate(it)) << flag.name;
    }
}

TEST_F(ConvTlvReceived, ARowReferringToNoNeighbourIsFalse) {
    root_->remoteSystemIs(key_, nullptr);
    const auto it = root_->remoteSystem().begin();
    ASSERT_FALSE(it.atEnd());
    for (const auto& flag : tlvFlags)
        EXPECT_FALSE(flag.predicate(it)) << flag.name;
}

TEST_F(ConvTlvReceived, TheEndOfTheCollectionIsFalse) {
    const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator unpositioned;
    const auto empty = root_->remoteSystem().begin();
    auto remote = Zim::makePtr<Lldp::RemoteSystem>("1", 1);
    for (const auto& flag : tlvFlags)
        (remote.get()->*flag.setter)(true);
    root_->remoteSystemIs(key_, remote);
    auto past = root_->remoteSystem().begin();
    ++past;
    for (const auto& flag : tlvFlags) {
        EXPECT_FALSE(flag.predicate(unpositioned)) << flag.name;
        EXPECT_FALSE(flag.predicate(empty)) << flag.name;
        EXPECT_FALSE(flag.predicate(past)) << flag.name;
    }
}

} // namespace
