// The keys of the mirror: their order must be the SNMP index order of their tables, and the
// value types they are made of refuse bad request indexes with fixed words.
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
#include <vector>

namespace {

using namespace Lldp::Snmp;
using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Lldp::ManagementAddress;
using Lldp::Oui;
using ModelTest::bytes;
using ModelTest::port;

constexpr int32_t int32Min = std::numeric_limits<int32_t>::min();
constexpr int32_t int32Max = std::numeric_limits<int32_t>::max();
// The bit pattern of 2147483648 read as a signed index.
const int32_t highBitIndex = static_cast<int32_t>(0x80000000u);

// Every pair of the list, taken in list order, must be strictly ascending under all six
// operators, and every key must compare equal to a copy of itself.
template <class Key> void expectAscending(const std::vector<Key>& keys) {
    for (size_t i = 0; i < keys.size(); ++i) {
        const Key& a = keys[i];
        const Key copy = a;
        EXPECT_TRUE(a == copy && !(a != copy) && !(a < copy) && a <= copy && a >= copy &&
                    !(a > copy))
            << Key::typeName << ' ' << i;
        for (size_t j = i + 1; j < keys.size(); ++j) {
            const Key& b = keys[j];
            EXPECT_TRUE(a < b && !(b < a) && a <= b && !(b <= a) && b > a && !(a > b) && b >= a &&
                        !(a >= b) && a != b && !(a == b))
                << Key::typeName << ' ' << i << " before " << j;
        }
    }
}

// --- order ---------------------------------------------------------------------------------

TEST(RemoteKeys, EachKeyOrdersByPortThenNeighbourIndexThenItsOwnFields) {
    // Indexes compare signed (a set high bit comes first); types, subtypes and OUIs unsigned,
    // the OUI before any subtype; address bytes unsigned, a longer address after every shorter.
    auto sys = [](uint16_t p, int32_t i) { return RemoteSystemKey(port(p), i); };
    expectAscending<RemoteSystemKey>({sys(0, 7), sys(1, highBitIndex), sys(1, -1), sys(1, 0),
                                      sys(1, int32Max), sys(2, int32Min), sys(4094, 1)});
    auto tlv = [](uint16_t p, int32_t i, uint32_t t) { return RemoteUnknownTlvKey(port(p), i, t); };
    expectAscending<RemoteUnknownTlvKey>({tlv(1, -1, 127), tlv(1, 1, 9), tlv(1, 1, 2147483648u),
                                          tlv(1, 1, 0xffffffffu), tlv(1, 2, 0),
                                          tlv(2, int32Min, 0)});
    auto org = [](int32_t i, uint32_t oui, uint32_t subtype, int32_t x) {
        return RemoteUnknownOrgDefTlvKey(port(1), i, Oui(oui), subtype, x);
    };
    expectAscending<RemoteUnknownOrgDefTlvKey>(
        {org(1, 0x000001, 0xffffffffu, 9), org(1, 0x0080c2, 1, highBitIndex),
         org(1, 0x0080c2, 1, 1), org(1, 0x0080c2, 0x80000000u, int32Min), org(1, 0x800000, 0, 0),
         org(2, 0, 0, 0)});
    auto addr = [](uint16_t p, int32_t i, int32_t subtype, Zim::String8 address) {
        return RemoteManagementAddressKey(port(p), i, ManagementAddress::Key(subtype, address));
    };
    expectAscending<RemoteManagementAddressKey>(
        {addr(1, 1, 1, bytes({10, 0, 0, 1})), addr(1, 1, 1, bytes({10, 0, 0, 2})),
         addr(1, 1, 1, bytes({200, 0, 0, 0})), addr(1, 1, 1, bytes({0, 0, 0, 0, 0})),
         addr(1, 1, 2, bytes({0})), addr(1, 2, 0, bytes({})), addr(3, int32Min, 0, bytes({}))});
    auto ppv = [](uint16_t p, int32_t i, uint16_t v) {
        return RemotePortAndProtocolVlanKey(port(p), i, VlanIdOrNone(v));
    };
    expectAscending<RemotePortAndProtocolVlanKey>(
        {ppv(1, 1, 0), ppv(1, 1, 4094), ppv(1, 2, 0), ppv(2, -5, 0)});
    auto vlan = [](uint16_t p, int32_t i, uint16_t v) {
        return RemoteVlanNameKey(port(p), i, VlanId(v));
    };
    expectAscending<RemoteVlanNameKey>(
        {vlan(1, 1, 1), vlan(1, 1, 4094), vlan(1, 2, 1), vlan(2, 1, 1)});
    auto proto = [](uint16_t p, int32_t i, int32_t x) {
        return RemoteProtocolIdentityInfoKey(port(p), i, x);
    };
    expectAscending<RemoteProtocolIdentityInfoKey>({proto(1, 1, int32Min), proto(1, 1, -1),
                                                    proto(1, 1, int32Max), proto(1, 2, int32Min),
                                                    proto(2, 1, int32Min)});
}

// --- order against net-snmp's own index OIDs ------------------------------------------------

// The instance OID net-snmp's build_oid makes of a column and the index values in vars.
std::vector<oid> instanceOid(std::vector<oid> column, netsnmp_variable_list* vars) {
    const std::unique_ptr<netsnmp_variable_list, decltype(&snmp_free_varbind)> owned(
        vars, &snmp_free_varbind);
    std::vector<oid> out(MAX_OID_LEN);
    size_t length = 0;
    EXPECT_EQ(
        build_oid_noalloc(out.data(), out.size(), &length, column.data(), column.size(), vars),
        SNMPERR_SUCCESS);
    out.resize(length);
    return out;
}

void addIndex(netsnmp_variable_list** vars, u_char type, long value) {
    snmp_varlist_add_variable(vars, nullptr, 0, type, &value, sizeof value);
}

void addAddress(netsnmp_variable_list** vars, const ManagementAddress::Key& key) {
    addIndex(vars, ASN_INTEGER, key.subtype());
    snmp_varlist_add_variable(vars, nullptr, 0, ASN_OCTET_STR, key.address().data(),
                              key.address().size());
}

// Each walk must give strictly increasing OIDs.
template <class Map, class ToOid> void expectWalkAscendsAsOids(const Map& map, ToOid toOid) {
    std::vector<oid> previous;
    for (auto it = map.begin(); !it.atEnd(); ++it) {
        const auto current = toOid(it.key());
        if (!previous.empty()) {
            EXPECT_LT(
                snmp_oid_compare(previous.data(), previous.size(), current.data(), current.size()),
                0);
        }
        previous = current;
    }
}

TEST(RemoteKeys, ManagementAddressRowsWalkInTheOrderOfNetSnmpsIndexOids) {
    // Short addresses of high bytes, long ones of low bytes, across subtypes.
    std::vector<ManagementAddress::Key> addresses;
    for (int32_t subtype : {2, 1, 0}) {
        for (size_t length : {16, 5, 4, 1, 0}) {
            for (char fill : {'\xff', '\x80', '\x7f', '\x00'})
                addresses.emplace_back(subtype, std::string(length, fill));
        }
    }
    const auto root = rootFactory("root");
    const auto neighbour = Zim::makePtr<Lldp::RemoteSystem>("n", 1);
    // Inserted out of order, across ports and neighbours, so only the collection's order can
    // make the walk ascend.
    for (uint16_t p : {2, 1}) {
        for (int32_t index : {7, 1}) {
            for (const auto& address : addresses) {
                root->remoteManagementAddressIs(RemoteManagementAddress{
                    {port(p), index, address}, neighbour, ModelTest::managementAddress(address)});
            }
        }
    }
    for (const auto& address : addresses)
        root->localManagementAddressIs(address);
    ASSERT_EQ(root->remoteManagementAddress().size(), 4 * root->localManagementAddress().size());

    expectWalkAscendsAsOids(root->remoteManagementAddress(), [](const auto& key) {
        netsnmp_variable_list* vars = nullptr;
        addIndex(&vars, ASN_TIMETICKS, 0);
        addIndex(&vars, ASN_INTEGER, key.ethPortId.value());
        addIndex(&vars, ASN_INTEGER, key.index);
        addAddress(&vars, key.manAddrKey);
        return instanceOid({1, 0, 8802, 1, 1, 2, 1, 4, 2, 1, 3}, vars);
    });
    expectWalkAscendsAsOids(root->localManagementAddress(), [](const auto& key) {
        netsnmp_variable_list* vars = nullptr;
        addAddress(&vars, key);
        return instanceOid({1, 0, 8802, 1, 1, 2, 1, 3, 8, 1, 3}, vars);
    });
}

// --- range checks --------------------------------------------------------------------------

std::string refusal(const std::function<void()>& f) {
    return ModelTest::thrown<Zim::RangeException>(f);
}

TEST(RemoteKeys, ValuesOutsideTheirRangeAreRefusedWithFixedWords) {
    const std::string badPort = "EthPortId::value < EthPortId::min or > EthPortId::max not allowed";
    const std::string badVlan = "VlanId::value < 1 or > 4094 not allowed";
    const std::string badVlanOrNone = "VlanIdOrNone::value > 4094 not allowed";
    const std::string badType = "UnknownTlv::type < 9 or > 126 not allowed";
    const std::string badInfo = "BoundedString511::bytes > 511 not allowed";
    const std::string badAddress = "ManAddress::bytes > 31 not allowed";
    const std::string badTlvs = "EnabledTlvs::value > 0xf not allowed";
    auto ethPort = [](uint16_t v) { return refusal([v] { (void)Interface::EthPortId(v); }); };
    auto vlan = [](uint16_t v) { return refusal([v] { (void)VlanId(v); }); };
    auto vlanOrNone = [](uint16_t v) { return refusal([v] { (void)VlanIdOrNone(v); }); };
    auto type = [](uint32_t t) {
        return refusal([t] { (void)RemoteUnknownTlvKey::fromIndex(port(1), 1, t); });
    };
    auto tlv = [](uint32_t t, size_t n) {
        return refusal([=] { (void)Lldp::UnknownTlv(t, std::string(n, 'x')); });
    };
    auto address = [](size_t n) {
        return refusal([n] { (void)ManagementAddress::Key(1, std::string(n, '\0')); });
    };
    auto tlvs = [](uint32_t v) { return refusal([v] { (void)Lldp::PortConfig::EnabledTlvs(v); }); };
    auto dot3 = [](uint32_t v) {
        return refusal([v] { (void)Lldp::PortConfig::Dot3EnabledTlvs(v); });
    };
    using Texts = std::vector<std::string>;
    EXPECT_EQ((Texts{ethPort(0), ethPort(4094), ethPort(4095), ethPort(0xffff)}),
              (Texts{"", "", badPort, badPort}));
    EXPECT_EQ((Texts{vlan(0), vlan(1), vlan(4094), vlan(4095)}), (Texts{badVlan, "", "", badVlan}));
    EXPECT_EQ((Texts{vlanOrNone(0), vlanOrNone(4094), vlanOrNone(4095)}),
              (Texts{"", "", badVlanOrNone}));
    EXPECT_EQ((Texts{type(0), type(8), type(9), type(126), type(127), type(2147483648u),
                     type(0xffffffffu)}),
              (Texts{badType, badType, "", "", badType, badType, badType}));
    // The info's length is checked before the type.
    EXPECT_EQ((Texts{tlv(9, 511), tlv(9, 512), tlv(8, 512)}), (Texts{"", badInfo, badInfo}));
    EXPECT_EQ((Texts{address(31), address(32)}), (Texts{"", badAddress}));
    EXPECT_EQ((Texts{tlvs(0xf), tlvs(0x10), tlvs(0x101), dot3(0x10)}),
              (Texts{"", badTlvs, badTlvs, "Dot3" + badTlvs}));
    EXPECT_EQ(RemoteUnknownTlvKey::fromIndex(port(1), 1, 126).type, 126u);
}

// --- text ----------------------------------------------------------------------------------

} // namespace
