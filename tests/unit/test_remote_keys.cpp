// The keys of the mirror: their order must be the SNMP index order of their tables, their
// range checks refuse bad request indexes with fixed words, and their text appears in traces.
#include "model/RemoteKeys.h"
#include "model/Root.h"
#include "test_model_support.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <vector>

namespace {

using namespace Lldp::Snmp;
using Lldp::ManagementAddress;
using Lldp::Oui;
using ModelTest::bytes;
using ModelTest::port;

constexpr int32_t int32Min = std::numeric_limits<int32_t>::min();
constexpr int32_t int32Max = std::numeric_limits<int32_t>::max();
// The bit pattern of 2147483648 read as a signed index.
const int32_t highBitIndex = static_cast<int32_t>(0x80000000u);

// Every pair of the list, taken in list order, must be strictly ascending under all six
// operators, and every key must compare equal to itself and to a copy of itself.
template <class Key> void expectAscending(const std::vector<Key>& keys) {
    for (size_t i = 0; i < keys.size(); ++i) {
        const Key& a = keys[i];
        const Key copy = a;
        EXPECT_FALSE(a < a) << i;
        EXPECT_TRUE(a <= a) << i;
        EXPECT_TRUE(a >= a) << i;
        EXPECT_FALSE(a > a) << i;
        EXPECT_TRUE(a == copy) << i;
        EXPECT_FALSE(a != copy) << i;
        for (size_t j = i + 1; j < keys.size(); ++j) {
            const Key& b = keys[j];
            EXPECT_TRUE(a < b) << i << " < " << j;
            EXPECT_FALSE(b < a) << j << " < " << i;
            EXPECT_TRUE(a <= b) << i << " <= " << j;
            EXPECT_FALSE(b <= a) << j << " <= " << i;
            EXPECT_TRUE(b > a) << j << " > " << i;
            EXPECT_FALSE(a > b) << i << " > " << j;
            EXPECT_TRUE(b >= a) << j << " >= " << i;
            EXPECT_FALSE(a >= b) << i << " >= " << j;
            EXPECT_TRUE(a != b) << i << " != " << j;
            EXPECT_FALSE(a == b) << i << " == " << j;
        }
    }
}

// The message of the range exception that f throws; "" when it throws none.
std::string rangeError(const std::function<void()>& f) {
    try {
        f();
    } catch (const Zim::RangeException& e) {
        return e.what();
    }
    return "";
}

// --- order ---------------------------------------------------------------------------------

TEST(RemoteSystemKey, PortNumberDominatesIndex) {
    const RemoteSystemKey portTwo(port(2), 5);
    const RemoteSystemKey portThree(port(3), 1);
    EXPECT_TRUE(portTwo < portThree);
    EXPECT_FALSE(portThree < portTwo);
}

TEST(RemoteSystemKey, OrdersByPortThenSignedIndex) {
    expectAscending<RemoteSystemKey>({
        {port(0), 7},
        {port(1), highBitIndex},  // negative as signed: before every positive index
        {port(1), -1},
        {port(1), 0},
        {port(1), 1},
        {port(1), int32Max},
        {port(2), int32Min},
        {port(4094), 1},
    });
}

TEST(RemoteUnknownTlvKey, TypeComparesUnsignedWhileIndexComparesSigned) {
    const RemoteUnknownTlvKey typeOne(port(1), 1, 1);
    const RemoteUnknownTlvKey typeHighBit(port(1), 1, 2147483648u);
    EXPECT_TRUE(typeOne < typeHighBit);
    EXPECT_FALSE(typeHighBit < typeOne);

    const RemoteSystemKey indexOne(port(1), 1);
    const RemoteSystemKey indexHighBit(port(1), highBitIndex);
    EXPECT_TRUE(indexHighBit < indexOne);
    EXPECT_FALSE(indexOne < indexHighBit);
}

TEST(RemoteUnknownTlvKey, OrdersByPortIndexThenType) {
    expectAscending<RemoteUnknownTlvKey>({
        {port(1), -1, 127},
        {port(1), 1, 1},
        {port(1), 1, 9},
        {port(1), 1, 126},
        {port(1), 1, 2147483648u},
        {port(1), 1, 0xffffffffu},
        {port(1), 2, 0},
        {port(2), int32Min, 0},
    });
}

TEST(RemoteUnknownOrgDefTlvKey, OuiOrdersBeforeSubtypeWhateverTheSubtypes) {
    const RemoteUnknownOrgDefTlvKey lowOuiHighSubtype(port(1), 1, Oui(0x000001), 0xffffffffu, 9);
    const RemoteUnknownOrgDefTlvKey highOuiLowSubtype(port(1), 1, Oui(0x000002), 0, 1);
    EXPECT_TRUE(lowOuiHighSubtype < highOuiLowSubtype);
    EXPECT_FALSE(highOuiLowSubtype < lowOuiHighSubtype);
}

TEST(RemoteUnknownOrgDefTlvKey, OrdersByOuiSubtypeThenSignedTlvIndex) {
    expectAscending<RemoteUnknownOrgDefTlvKey>({
        {port(1), 1, Oui(0x000000), 0, 0},
        {port(1), 1, Oui(0x0080c2), 1, highBitIndex},
        {port(1), 1, Oui(0x0080c2), 1, -1},
        {port(1), 1, Oui(0x0080c2), 1, 1},
        {port(1), 1, Oui(0x0080c2), 2, int32Min},
        {port(1), 1, Oui(0x0080c2), 0x80000000u, 0},  // subtype is unsigned
        {port(1), 1, Oui(0x800000), 0, 0},            // so is the OUI
        {port(1), 2, Oui(0x000000), 0, 0},
    });
}

TEST(RemoteManagementAddressKey, OrdersBySubtypeThenAddressLengthThenBytes) {
    expectAscending<RemoteManagementAddressKey>({
        {port(1), 1, {1, bytes({10, 0, 0, 1})}},
        {port(1), 1, {1, bytes({10, 0, 0, 2})}},
        {port(1), 1, {1, bytes({200, 0, 0, 0})}},   // bytes compare unsigned
        {port(1), 1, {1, bytes({0, 0, 0, 0, 0})}},  // a longer address after every shorter one
        {port(1), 1, {2, bytes({0})}},
        {port(1), 2, {0, bytes({})}},
        {port(3), int32Min, {0, bytes({})}},
    });
}

TEST(RemoteManagementAddressKey, EqualAddressesHeldInSeparateStringsAreEqual) {
    const RemoteManagementAddressKey a(port(1), 1, {1, bytes({10, 0, 0, 1})});
    const RemoteManagementAddressKey b(port(1), 1, {1, bytes({10, 0, 0, 1})});
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(b < a);
}

TEST(RemotePortAndProtocolVlanKey, OrdersByPortIndexThenVlanWithNoneFirst) {
    expectAscending<RemotePortAndProtocolVlanKey>({
        {port(1), 1, Bridging::VlanIdOrNone(0)},
        {port(1), 1, Bridging::VlanIdOrNone(1)},
        {port(1), 1, Bridging::VlanIdOrNone(4094)},
        {port(1), 2, Bridging::VlanIdOrNone(0)},
        {port(2), -5, Bridging::VlanIdOrNone(0)},
    });
}

TEST(RemoteVlanNameKey, OrdersByPortIndexThenVlan) {
    expectAscending<RemoteVlanNameKey>({
        {port(1), 1, Bridging::VlanId(1)},
        {port(1), 1, Bridging::VlanId(256)},
        {port(1), 1, Bridging::VlanId(4094)},
        {port(1), 2, Bridging::VlanId(1)},
        {port(2), 1, Bridging::VlanId(1)},
    });
}

TEST(RemoteProtocolIdentityInfoKey, OrdersByPortIndexThenSignedProtocolIndex) {
    expectAscending<RemoteProtocolIdentityInfoKey>({
        {port(1), 1, int32Min},
        {port(1), 1, -1},
        {port(1), 1, 0},
        {port(1), 1, 1},
        {port(1), 1, int32Max},
        {port(1), 2, int32Min},
        {port(2), 1, int32Min},
    });
}

// --- order against net-snmp's own index OIDs ----------------------------------------------------

using VarList = std::unique_ptr<netsnmp_variable_list, decltype(&snmp_free_varbind)>;

void addInteger(netsnmp_variable_list** vars, u_char type, long value) {
    snmp_varlist_add_variable(vars, nullptr, 0, type, &value, sizeof value);
}

// The instance OID of a column of lldpRemManAddrTable as net-snmp builds it from the index
// values (time mark, port, index, address subtype, address).
std::vector<oid> remManAddrInstance(const RemoteManagementAddressKey& key) {
    netsnmp_variable_list* raw = nullptr;
    addInteger(&raw, ASN_TIMETICKS, 0);
    addInteger(&raw, ASN_INTEGER, key.ethPortId.value());
    addInteger(&raw, ASN_INTEGER, key.index);
    addInteger(&raw, ASN_INTEGER, key.manAddrKey.subtype());
    snmp_varlist_add_variable(&raw, nullptr, 0, ASN_OCTET_STR, key.manAddrKey.address().data(),
                              key.manAddrKey.address().size());
    const VarList vars(raw, &snmp_free_varbind);
    oid column[] = {1, 0, 8802, 1, 1, 2, 1, 4, 2, 1, 3};
    std::vector<oid> out(MAX_OID_LEN);
    size_t length = 0;
    EXPECT_EQ(
        build_oid_noalloc(out.data(), out.size(), &length, column, std::size(column), vars.get()),
        SNMPERR_SUCCESS);
    out.resize(length);
    return out;
}

std::vector<oid> locManAddrInstance(const ManagementAddress::Key& key) {
    netsnmp_variable_list* raw = nullptr;
    addInteger(&raw, ASN_INTEGER, key.subtype());
    snmp_varlist_add_variable(&raw, nullptr, 0, ASN_OCTET_STR, key.address().data(),
                              key.address().size());
    const VarList vars(raw, &snmp_free_varbind);
    oid column[] = {1, 0, 8802, 1, 1, 2, 1, 3, 8, 1, 3};
    std::vector<oid> out(MAX_OID_LEN);
    size_t length = 0;
    EXPECT_EQ(
        build_oid_noalloc(out.data(), out.size(), &length, column, std::size(column), vars.get()),
        SNMPERR_SUCCESS);
    out.resize(length);
    return out;
}

std::vector<ManagementAddress::Key> awkwardAddresses() {
    const std::vector<unsigned char> lowIpv6(16, 0x00);
    const std::vector<unsigned char> highIpv6(16, 0xff);
    return {
        {2, Zim::String8(highIpv6.data(), highIpv6.size())},
        {1, bytes({255, 255, 255, 255})},                   // short, high bytes
        {1, Zim::String8(lowIpv6.data(), lowIpv6.size())},  // long, low bytes, same subtype
        {1, bytes({10, 0, 0, 1})},
        {1, bytes({10, 0, 0, 0, 1})},
        {1, bytes({9})},
        {0, bytes({})},
        {2, bytes({1, 2, 3, 4})},
        {1, bytes({128, 0, 0, 0})},
        {1, bytes({127, 255, 255, 255})},
    };
}

TEST(RemoteManagementAddressKey, WalkingTheRootGivesStrictlyIncreasingIndexOids) {
    const auto root = rootFactory("root");
    const auto neighbour = Zim::makePtr<Lldp::RemoteSystem>("n", 1);
    // Inserted out of order, across ports and neighbours, so only the collection's order can
    // make the walk ascend.
    for (uint16_t p : {2, 1}) {
        for (int32_t index : {7, 1}) {
            for (const auto& address : awkwardAddresses()) {
                root->remoteManagementAddressIs(RemoteManagementAddress{
                    {port(p), index, address}, neighbour, ModelTest::managementAddress(address)});
            }
        }
    }
    ASSERT_EQ(root->remoteManagementAddress().size(), 4 * awkwardAddresses().size());

    std::vector<oid> previous;
    size_t walked = 0;
    for (auto it = root->remoteManagementAddress().begin(); !it.atEnd(); ++it, ++walked) {
        const auto current = remManAddrInstance(it.key());
        if (!previous.empty()) {
            EXPECT_LT(
                snmp_oid_compare(previous.data(), previous.size(), current.data(), current.size()),
                0)
                << "not ascending at " << valueToStrep(it.key());
        }
        previous = current;
    }
    EXPECT_EQ(walked, root->remoteManagementAddress().size());
}

TEST(LocalManagementAddressKey, WalkingTheRootGivesStrictlyIncreasingIndexOids) {
    const auto root = rootFactory("root");
    for (const auto& address : awkwardAddresses()) root->localManagementAddressIs(address);

    std::vector<oid> previous;
    for (auto it = root->localManagementAddress().begin(); !it.atEnd(); ++it) {
        const auto current = locManAddrInstance(it.key());
        if (!previous.empty()) {
            EXPECT_LT(
                snmp_oid_compare(previous.data(), previous.size(), current.data(), current.size()),
                0)
                << "not ascending at " << Lldp::valueToStrep(it.key());
        }
        previous = current;
    }
}

// --- range checks --------------------------------------------------------------------------

TEST(KeyRangeChecks, PortNumberAbove4094IsRefusedWhileZeroIsAccepted) {
    const std::string refused = "EthPortId::value < EthPortId::min or > EthPortId::max not allowed";
    EXPECT_EQ(rangeError([] { (void)RemoteSystemKey(Interface::EthPortId(4094), 1); }), "");
    EXPECT_EQ(rangeError([] { (void)RemoteSystemKey(Interface::EthPortId(0), 1); }), "");
    EXPECT_EQ(rangeError([] { (void)RemoteSystemKey(Interface::EthPortId(4095), 1); }), refused);
    EXPECT_EQ(rangeError([] { (void)RemoteSystemKey(Interface::EthPortId(65535), 1); }), refused);
}

TEST(KeyRangeChecks, UnknownTlvTypeFromAnIndexMustLieIn9To126) {
    const std::string refused = "UnknownTlv::type < 9 or > 126 not allowed";
    for (uint32_t type : {0u, 8u, 127u, 2147483648u, 0xffffffffu}) {
        EXPECT_EQ(rangeError([&] { (void)RemoteUnknownTlvKey::fromIndex(port(1), 1, type); }),
                  refused)
            << type;
    }
    EXPECT_EQ(RemoteUnknownTlvKey::fromIndex(port(1), 1, 9).type, 9u);
    EXPECT_EQ(RemoteUnknownTlvKey::fromIndex(port(1), 1, 126).type, 126u);
}

TEST(KeyRangeChecks, ManagementAddressOfMoreThan31BytesIsRefused) {
    const std::vector<unsigned char> longest(31, 1);
    const std::vector<unsigned char> tooLong(32, 1);
    EXPECT_EQ(rangeError([&] {
                  (void)RemoteManagementAddressKey(
                      port(1), 1, {1, Zim::String8(longest.data(), longest.size())});
              }),
              "");
    EXPECT_EQ(rangeError([&] {
                  (void)RemoteManagementAddressKey(
                      port(1), 1, {1, Zim::String8(tooLong.data(), tooLong.size())});
              }),
              "ManAddress::bytes > 31 not allowed");
}

// --- text ----------------------------------------------------------------------------------

TEST(RemoteKeyText, RemoteSystemKeyShowsPortAndIndex) {
    EXPECT_EQ(valueToStrep(RemoteSystemKey(port(1), 2)),
              "Value('Lldp::Snmp::RemoteSystem::Key', ** {'ethPortId': 1, 'index': 2})");
}

TEST(RemoteKeyText, EachFieldIsWrittenInItsOwnForm) {
    EXPECT_EQ(valueToStrep(RemoteManagementAddressKey(port(3), -4, {1, bytes({10, 0, 0, 1})})),
              "Value('Lldp::Snmp::RemoteManagementAddress::Key', ** {'ethPortId': 3, 'index': -4, "
              "'manAddrKey': Value('Lldp::ManagementAddress::Key', ** {'subtype': 1, 'address': "
              "'\\x0a\\x00\\x00\\x01'})})");
    EXPECT_EQ(valueToStrep(RemoteUnknownTlvKey(port(3), 4, 4294967295u)),
              "Value('Lldp::Snmp::RemoteUnknownTlv::Key', ** {'ethPortId': 3, 'index': 4, "
              "'type': 4294967295})");
    EXPECT_EQ(valueToStrep(RemoteUnknownOrgDefTlvKey(port(3), 4, Oui(0x00120f), 2147483648u, -1)),
              "Value('Lldp::Snmp::RemoteUnknownOrgDefTlv::Key', ** {'ethPortId': 3, 'index': 4, "
              "'oui': 00-12-0f, 'subtype': 2147483648, 'unknownOrgDefTlvIndex': -1})");
    EXPECT_EQ(valueToStrep(RemotePortAndProtocolVlanKey(port(3), 4, Bridging::VlanIdOrNone(0))),
              "Value('Lldp::Snmp::RemotePortAndProtocolVlan::Key', ** {'ethPortId': 3, 'index': "
              "4, 'portAndProtocolVlanId': 0})");
    EXPECT_EQ(valueToStrep(RemoteVlanNameKey(port(3), 4, Bridging::VlanId(100))),
              "Value('Lldp::Snmp::RemoteVlanName::Key', ** {'ethPortId': 3, 'index': 4, "
              "'vlanId': 100})");
    EXPECT_EQ(valueToStrep(RemoteProtocolIdentityInfoKey(port(3), 4, int32Min)),
              "Value('Lldp::Snmp::RemoteProtocolIdentityInfo::Key', ** {'ethPortId': 3, 'index': "
              "4, 'protocolIndex': -2147483648})");
}

TEST(RemoteKeyText, StreamingAKeyWritesItsText) {
    const RemoteVlanNameKey key(port(7), 8, Bridging::VlanId(9));
    std::ostringstream os;
    os << key;
    EXPECT_EQ(os.str(), valueToStrep(key));
}

TEST(RemoteKeyText, FieldsAreReadByTheirNamesInTheText) {
    const RemoteUnknownOrgDefTlvKey key(port(3), 4, Oui(0x00120f), 5, -6);
    EXPECT_EQ(attributeStrRep(key, "ethPortId"), "3");
    EXPECT_EQ(attributeStrRep(key, "index"), "4");
    EXPECT_EQ(attributeStrRep(key, "oui"), "00-12-0f");
    EXPECT_EQ(attributeStrRep(key, "subtype"), "5");
    EXPECT_EQ(attributeStrRep(key, "unknownOrgDefTlvIndex"), "-6");
    EXPECT_EQ(attributeStrRep(RemoteVlanNameKey(port(1), 2, Bridging::VlanId(3)), "vlanId"), "3");
    EXPECT_THROW((void)attributeStrRep(key, "oUI"), Zim::RangeException);
    EXPECT_THROW((void)attributeStrRep(RemoteSystemKey(port(1), 2), "vlanId"), Zim::RangeException);
}

}  // namespace
