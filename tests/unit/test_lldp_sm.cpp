// Local mirroring: one LocalManagementAddress row per advertised address, its port list filled
// only once the agent has given the address a priority, and the root published after the first
// pass.
#include "model/LldpSm.h"
#include "test_model_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <any>
#include <map>
#include <vector>

namespace {

using namespace Lldp::Snmp;
using Lldp::ManAddrPriority;
using Lldp::ManagementAddress;
using ModelTest::ipv4;
using ModelTest::managementAddress;
using ModelTest::port;

using Ports = std::vector<uint16_t>;
using Places = std::map<ManAddrPriority, ManagementAddress::Key>;

const ManAddrPriority first(1);
const ManAddrPriority second(2);

class LldpSmTest : public ::testing::Test {
protected:
    ModelTest::PublishedRootReset published;
    Root::Ptr root = rootFactory("root");
    Zim::Ptr<Lldp::AllStatus> status = Zim::makePtr<Lldp::AllStatus>("all");
    Zim::Ptr<Lldp::LocalSystem> localSystem = Zim::makePtr<Lldp::LocalSystem>("localSystem");
    Zim::Ptr<Lldp::Config> config = Zim::makePtr<Lldp::Config>("config");
    LldpSm::Ptr sm;

    // The machines hold the root and the root holds them: break the cycle.
    void TearDown() override {
        root->lldpSmDel();
        sm = nullptr;
    }

    void start() { sm = root->lldpSmIs(status, localSystem, config, root); }

    // Local port rows of the root, as the glue fills them.
    void localPortRowsAre(std::initializer_list<uint16_t> ports) {
        for (uint16_t p : ports)
            root->localPortIs(port(p),
                              Zim::makePtr<Lldp::LocalPort>("Ethernet" + std::to_string(p)));
    }
    void advertise(const ManagementAddress::Key& key, int32_t ifId = 0) {
        localSystem->managementAddressIs(key, managementAddress(key, ifId));
    }
    void prioritise(const ManAddrPriority& prio, const ManagementAddress::Key& key) {
        localSystem->managementAddressPrioIs(prio, key);
    }

    // The ports of an address's list, ascending; empty when the row or list is missing.
    Ports portsOf(const ManagementAddress::Key& key) const {
        Ports out;
        const auto row = root->localManagementAddress(key);
        if (!row || !row->portsTxEnable())
            return out;
        for (unsigned short p : row->portsTxEnable()->portId().keys())
            out.push_back(p);
        std::sort(out.begin(), out.end());
        return out;
    }
};

using LldpSmDeathTest = LldpSmTest;

// --- the first pass and priorities ---------------------------------------------------------

TEST_F(LldpSmTest, OnlyAPrioritisedAddressIsOnTheLocalPortsOnceTheRootIsPublished) {
    localPortRowsAre({3, 1, 2});
    advertise(ipv4(1));
    advertise(ipv4(2), 7);
    prioritise(first, ipv4(1));
    ASSERT_FALSE(lldpRoot());
    start();
    EXPECT_EQ(lldpRoot().get(), root.get());
    EXPECT_EQ(portsOf(ipv4(1)), (Ports{1, 2, 3}));

    const auto row = root->localManagementAddress(ipv4(2));
    ASSERT_TRUE(row);
    EXPECT_EQ(row->rawValue(), managementAddress(ipv4(2), 7));
    ASSERT_TRUE(row->portsTxEnable());
    EXPECT_TRUE(row->portsTxEnable()->portId().empty());
    prioritise(second, ipv4(2));
    EXPECT_EQ(portsOf(ipv4(2)), (Ports{1, 2, 3}));
}

TEST_F(LldpSmTest, LosingItsPriorityOrItsAddressRemovesTheRowAndAnUnknownPriorityNothing) {
    advertise(ipv4(1));
    advertise(ipv4(2));
    advertise(ipv4(3));
    prioritise(first, ipv4(1));
    prioritise(second, ipv4(3));
    start();

    sm->handleManagementAddressPrio(ManAddrPriority(9));
    EXPECT_EQ(root->localManagementAddress().size(), 3u);
    localSystem->managementAddressPrioDel(first);
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
    EXPECT_TRUE(root->localManagementAddress(ipv4(2)));
    EXPECT_EQ(sm->manAddr(), (Places{{second, ipv4(3)}}));

    // An address removed while its priority stays loses its row but keeps its place.
    localSystem->managementAddressDel(ipv4(3));
    EXPECT_FALSE(root->localManagementAddress(ipv4(3)));
    EXPECT_EQ(sm->manAddr(), (Places{{second, ipv4(3)}}));
    EXPECT_EQ(sm->manAddrPrio(ipv4(3)), second);
    localSystem->managementAddressPrioDel(second);
    EXPECT_TRUE(sm->manAddr().empty());
    EXPECT_TRUE(sm->manAddrPrio().empty());
}

TEST_F(LldpSmTest, APriorityTakenByAnotherAddressRemovesTheFirstAndAMovedAddressStays) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    advertise(ipv4(2));
    prioritise(first, ipv4(1));
    start();

    prioritise(first, ipv4(2));
    EXPECT_EQ(sm->manAddr(), (Places{{first, ipv4(2)}}));
    EXPECT_EQ(sm->manAddrPrio().size(), 1u);
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
    EXPECT_EQ(portsOf(ipv4(2)), (Ports{1}));

    prioritise(second, ipv4(2));
    localSystem->managementAddressPrioDel(first);
    EXPECT_EQ(sm->manAddr(), (Places{{second, ipv4(2)}}));
    EXPECT_EQ(sm->manAddrPrio(ipv4(2)), second);
    EXPECT_EQ(portsOf(ipv4(2)), (Ports{1}));
}

TEST_F(LldpSmTest, ASecondNoticeOfAnAddressKeepsTheStoredValueAndReAddsThePorts) {
    localPortRowsAre({1, 2});
    advertise(ipv4(1), 5);
    prioritise(first, ipv4(1));
    start();
    root->localManagementAddress(ipv4(1))->portsTxEnable()->portIdDel(2);

    advertise(ipv4(1), 6); // the agent changes the address's value: a notice for the key
    EXPECT_EQ(root->localManagementAddress(ipv4(1))->rawValue().ifId(), 5);
    EXPECT_EQ(portsOf(ipv4(1)), (Ports{1, 2}));
}

// --- local ports ---------------------------------------------------------------------------

TEST_F(LldpSmTest, ALocalInterfaceJoinsAndANonLocalOneLeavesPrioritisedAddressesOnly) {
    advertise(ipv4(1));
    advertise(ipv4(2));
    advertise(ipv4(3));
    prioritise(first, ipv4(1));
    prioritise(second, ipv4(2));
    start();
    // An address without priority never gets ports from the machine; one put there by hand
    // must be left alone.
    root->localManagementAddress(ipv4(3))->portsTxEnable()->portIdIs(port(5));

    const Ifkit::IntfId intf("Ethernet5");
    localSystem->localPortIs(intf, Zim::makePtr<Lldp::LocalPort>("Ethernet5"));
    sm->handleLocalPort(intf, port(5));
    EXPECT_EQ(portsOf(ipv4(1)), (Ports{5}));
    EXPECT_EQ(portsOf(ipv4(2)), (Ports{5}));

    localSystem->localPortDel(intf);
    sm->handleLocalPort(intf, port(5));
    EXPECT_EQ(portsOf(ipv4(1)), (Ports{}));
    EXPECT_EQ(portsOf(ipv4(2)), (Ports{}));
    EXPECT_EQ(portsOf(ipv4(3)), (Ports{5}));
}

TEST_F(LldpSmTest, NamedOperationsCheckTheirArgumentsAndPortNumbersAbove4094AreRangeErrors) {
    advertise(ipv4(1));
    prioritise(first, ipv4(1));
    start();
    const Ifkit::IntfId intf("Ethernet1");
    localSystem->localPortIs(intf, Zim::makePtr<Lldp::LocalPort>("Ethernet1"));

    EXPECT_EQ(ModelTest::thrown<Zim::RangeException>([&] {
                  sm->invoke("handleLocalPort", {intf, 4095u});
              }),
              "EthPortId::value < EthPortId::min or > EthPortId::max not allowed");
    EXPECT_THROW(sm->invoke("handleLocalPort", {intf, 65536u}), Zim::RangeException);
    EXPECT_THROW(sm->invoke("handleLocalPort", {intf, -1}), Zim::RangeException);
    EXPECT_THROW(sm->invoke("handleManagementAddressPrio", {1}), Zim::RangeException);
    EXPECT_THROW(sm->invoke("doClose", {}), Zim::RangeException);
    EXPECT_TRUE(portsOf(ipv4(1)).empty());

    sm->invoke("handleLocalPort", {intf, 4094u});
    sm->invoke("handleLocalPort", {intf, port(7)});
    EXPECT_EQ(portsOf(ipv4(1)), (Ports{7, 4094}));
}

// --- replacing the machine -----------------------------------------------------------------

TEST_F(LldpSmTest, OnlyAnotherEntityReplacesTheMachineAndTheNewOneKeepsTheRows) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    prioritise(first, ipv4(1));
    start();
    EXPECT_EQ(root->lldpSmIs(status, localSystem, config, root).get(), sm.get());
    const auto row = root->localManagementAddress(ipv4(1));

    lldpRootResetForTesting(); // the new machine publishes the root again
    const auto replaced =
        root->lldpSmIs(status, localSystem, Zim::makePtr<Lldp::Config>("c"), root);
    EXPECT_NE(replaced.get(), sm.get());
    EXPECT_EQ(root->localManagementAddress(ipv4(1)).get(), row.get());
    EXPECT_EQ(portsOf(ipv4(1)), (Ports{1}));

    sm = nullptr; // the new machine follows the agent on its own
    localSystem->managementAddressPrioDel(first);
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));

    EXPECT_THROW(root->lldpSmIs(status, localSystem, config, nullptr), Zim::RangeException);
    EXPECT_EQ(root->lldpSm().get(), replaced.get());
}

// --- broken contracts stop the process -----------------------------------------------------

TEST_F(LldpSmDeathTest, ASecondFirstPassOrAPriorityForAnAbsentAddressStops) {
    advertise(ipv4(1));
    prioritise(first, ipv4(1));
    start();
    const std::string missing = ModelTest::assertionText(
        "a prioritised management address is one of the local system's addresses");
    EXPECT_DEATH(sm->handleInitialized(), ModelTest::assertionText("!initialized()"));
    EXPECT_DEATH(prioritise(second, ipv4(9)), missing);
    localSystem->managementAddressDel(ipv4(1));
    EXPECT_DEATH(sm->handleManagementAddressPrio(first), missing);
}

} // namespace
