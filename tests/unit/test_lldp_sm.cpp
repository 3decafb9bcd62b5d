// Local mirroring: one LocalManagementAddress row per advertised address, its port list filled
// only once the agent has given the address a priority, and the root published after the first
// pass.
#include "model/LldpSm.h"
#include "test_model_support.h"

#include "platform/zim/Jotlog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <any>
#include <vector>

namespace {

using namespace Lldp::Snmp;
using Lldp::ManAddrPriority;
using Lldp::ManagementAddress;
using ModelTest::ipv4;
using ModelTest::managementAddress;
using ModelTest::port;

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
        for (uint16_t p : ports) {
            root->localPortIs(port(p), Zim::makePtr<Lldp::LocalPort>(interfaceName(p)));
        }
    }
    // An interface the agent's local system counts as a local port.
    Ifkit::IntfId agentLocalPort(uint16_t p) {
        const Ifkit::IntfId intf(interfaceName(p));
        localSystem->localPortIs(intf, Zim::makePtr<Lldp::LocalPort>(interfaceName(p)));
        return intf;
    }
    static std::string interfaceName(uint16_t p) { return "Ethernet" + std::to_string(p); }

    void advertise(const ManagementAddress::Key& key, int32_t ifId = 0) {
        localSystem->managementAddressIs(key, managementAddress(key, ifId));
    }

    // The ports of an address's list, ascending; empty when the row or list is missing.
    std::vector<uint16_t> portsOf(const ManagementAddress::Key& key) const {
        std::vector<uint16_t> out;
        const auto row = root->localManagementAddress(key);
        if (!row || !row->portsTxEnable()) return out;
        for (unsigned short p : row->portsTxEnable()->portId().keys()) out.push_back(p);
        std::sort(out.begin(), out.end());
        return out;
    }
};

using LldpSmDeathTest = LldpSmTest;

// --- the first pass ------------------------------------------------------------------------

TEST_F(LldpSmTest, AnAddressWithoutPriorityHasARowWithAnEmptyPortList) {
    localPortRowsAre({1, 2});
    advertise(ipv4(1), 7);
    start();

    const auto row = root->localManagementAddress(ipv4(1));
    ASSERT_TRUE(row);
    EXPECT_EQ(row->rawValue(), managementAddress(ipv4(1), 7));
    ASSERT_TRUE(row->portsTxEnable());
    EXPECT_EQ(row->portsTxEnable()->name(), Zim::String8("portsTxEnable"));
    EXPECT_TRUE(row->portsTxEnable()->portId().empty());
}

TEST_F(LldpSmTest, APrioritisedAddressAtStartIsSentOnEveryLocalPortRow) {
    localPortRowsAre({3, 1, 2});
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();
    EXPECT_TRUE(sm->initialized());
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{1, 2, 3}));
}

TEST_F(LldpSmTest, TheRootIsPublishedOnceTheFirstPassHasBuiltTheRows) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    ASSERT_FALSE(lldpRoot());
    start();
    EXPECT_EQ(lldpRoot().get(), root.get());
}

// --- priorities ----------------------------------------------------------------------------

TEST_F(LldpSmTest, AGivenPriorityFillsThePortListFromTheLocalPortRows) {
    localPortRowsAre({1, 2});
    advertise(ipv4(1));
    start();
    ASSERT_TRUE(portsOf(ipv4(1)).empty());

    localSystem->managementAddressPrioIs(first, ipv4(1));
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{1, 2}));
    EXPECT_EQ(sm->manAddrPrio(ipv4(1)), first);
}

TEST_F(LldpSmTest, LosingItsPriorityRemovesTheWholeRow) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();

    localSystem->managementAddressPrioDel(first);
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
    EXPECT_TRUE(localSystem->managementAddress().contains(ipv4(1)));
    EXPECT_TRUE(sm->manAddr().empty());
    EXPECT_TRUE(sm->manAddrPrio().empty());
}

TEST_F(LldpSmTest, AnAddressRemovedWhileItsPriorityStaysLosesItsRowButKeepsItsPlace) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();

    localSystem->managementAddressDel(ipv4(1));
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
    ASSERT_EQ(sm->manAddr().size(), 1u);
    EXPECT_EQ(sm->manAddr().at(first), ipv4(1));
    EXPECT_EQ(sm->manAddrPrio(ipv4(1)), first);

    // When the priority goes too, both maps forget the address.
    localSystem->managementAddressPrioDel(first);
    EXPECT_TRUE(sm->manAddr().empty());
    EXPECT_TRUE(sm->manAddrPrio().empty());
}

TEST_F(LldpSmTest, RemovingAPriorityNeverRecordedRemovesNothing) {
    advertise(ipv4(1));
    advertise(ipv4(2));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();

    sm->handleManagementAddressPrio(ManAddrPriority(9));
    EXPECT_TRUE(root->localManagementAddress(ipv4(1)));
    EXPECT_TRUE(root->localManagementAddress(ipv4(2)));
    EXPECT_EQ(sm->manAddr().size(), 1u);
}

TEST_F(LldpSmTest, APriorityGivenToAnotherAddressTakesItFromTheFirst) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    advertise(ipv4(2));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();

    localSystem->managementAddressPrioIs(first, ipv4(2));
    EXPECT_EQ(sm->manAddr(), (std::map<ManAddrPriority, ManagementAddress::Key>{{first, ipv4(2)}}));
    EXPECT_EQ(sm->manAddrPrio().size(), 1u);
    EXPECT_EQ(sm->manAddrPrio(ipv4(2)), first);
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
    EXPECT_EQ(portsOf(ipv4(2)), (std::vector<uint16_t>{1}));
}

TEST_F(LldpSmTest, AnAddressMovedToAnotherPriorityKeepsItsRowWhenTheOldOneGoes) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();

    localSystem->managementAddressPrioIs(second, ipv4(1));
    localSystem->managementAddressPrioDel(first);
    EXPECT_EQ(sm->manAddr(),
              (std::map<ManAddrPriority, ManagementAddress::Key>{{second, ipv4(1)}}));
    EXPECT_EQ(sm->manAddrPrio(ipv4(1)), second);
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{1}));
}

// --- addresses -----------------------------------------------------------------------------

TEST_F(LldpSmTest, ASecondNoticeOfAnAddressKeepsTheStoredValueAndReAddsThePorts) {
    localPortRowsAre({1, 2});
    advertise(ipv4(1), 5);
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();
    root->localManagementAddress(ipv4(1))->portsTxEnable()->portIdDel(2);

    advertise(ipv4(1), 6);  // the agent changes the address's value: a notice for the key
    const auto row = root->localManagementAddress(ipv4(1));
    EXPECT_EQ(row->rawValue().ifId(), 5);
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{1, 2}));
}

TEST_F(LldpSmTest, AnAddressGoneFromTheAgentIsMadeWithAnEmptyValueIfAskedFor) {
    start();
    doAddLocalManagementAddress(*sm, ipv4(9));
    const auto row = root->localManagementAddress(ipv4(9));
    ASSERT_TRUE(row);
    EXPECT_EQ(row->rawValue(), ManagementAddress());
}

// --- local ports ---------------------------------------------------------------------------

TEST_F(LldpSmTest, ALocalInterfaceIsAddedToEveryPrioritisedAddressOnly) {
    advertise(ipv4(1));
    advertise(ipv4(2));
    advertise(ipv4(3));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    localSystem->managementAddressPrioIs(second, ipv4(2));
    start();

    sm->handleLocalPort(agentLocalPort(5), port(5));
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{5}));
    EXPECT_EQ(portsOf(ipv4(2)), (std::vector<uint16_t>{5}));
    EXPECT_TRUE(portsOf(ipv4(3)).empty());
}

TEST_F(LldpSmTest, AnInterfaceThatIsNoLocalPortLeavesPrioritisedAddressesOnly) {
    localPortRowsAre({1, 2});
    advertise(ipv4(1));
    advertise(ipv4(2));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();
    // An address without priority never gets ports from the machine; put one there by hand to
    // see that the removal leaves it alone.
    root->localManagementAddress(ipv4(2))->portsTxEnable()->portIdIs(port(2));

    sm->handleLocalPort(Ifkit::IntfId("Ethernet2"), port(2));
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{1}));
    EXPECT_EQ(portsOf(ipv4(2)), (std::vector<uint16_t>{2}));
}

TEST_F(LldpSmTest, APortNumberAbove4094IsARangeErrorAndChangesNothing) {
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();
    const auto intf = agentLocalPort(1);

    try {
        sm->invoke("handleLocalPort", {intf, 4095u});
        FAIL() << "port 4095 was accepted";
    } catch (const Zim::RangeException& e) {
        EXPECT_STREQ(e.what(), "EthPortId::value < EthPortId::min or > EthPortId::max not allowed");
    }
    EXPECT_THROW(sm->invoke("handleLocalPort", {intf, 65536u}), Zim::RangeException);
    EXPECT_TRUE(portsOf(ipv4(1)).empty());

    sm->invoke("handleLocalPort", {intf, 4094u});
    sm->invoke("handleLocalPort", {intf, port(7)});
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{7, 4094}));
}

// --- the machine's generic face ------------------------------------------------------------

TEST_F(LldpSmTest, PrioritiesAndNotificationTimeAreReadableByName) {
    advertise(ipv4(1));
    advertise(ipv4(2));
    localSystem->managementAddressPrioIs(second, ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(2));
    start();
    EXPECT_EQ(sm->attributeStrRep("manAddrPrio"),
              "{" + Lldp::valueToStrep(ipv4(2)) + ": 1, " + Lldp::valueToStrep(ipv4(1)) + ": 2}");
    sm->lastNotificationTimeIs(12.5);
    EXPECT_EQ(sm->attributeStrRep("lastNotificationTime"), "12.500000");
    EXPECT_THROW((void)sm->attributeStrRep("manAddr"), Zim::RangeException);
}

TEST_F(LldpSmTest, NamedOperationsReachTheHandlers) {
    advertise(ipv4(1));
    start();
    localSystem->managementAddressPrioIs(first, ipv4(1));
    localSystem->managementAddressPrioDel(first);
    ASSERT_FALSE(root->localManagementAddress(ipv4(1)));

    // The agent puts the priority back without telling; the generic call catches up.
    sm->localSystemDel();
    localSystem->managementAddressPrioIs(first, ipv4(1));
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
    sm->localSystemIs(localSystem);
    sm->invoke("handleManagementAddressPrio", {first});
    EXPECT_TRUE(root->localManagementAddress(ipv4(1)));

    EXPECT_THROW(sm->invoke("handleManagementAddressPrio", {1}), Zim::RangeException);
    EXPECT_THROW(sm->invoke("doClose", {}), Zim::RangeException);
}

// --- replacing the machine -----------------------------------------------------------------

TEST_F(LldpSmTest, AskingAgainWithTheSameEntitiesKeepsTheMachine) {
    start();
    EXPECT_EQ(root->lldpSmIs(status, localSystem, config, root).get(), sm.get());
    EXPECT_EQ(root->lldpSm().get(), sm.get());
}

TEST_F(LldpSmTest, AnotherEntityMakesANewMachineWhoseFirstPassKeepsTheRows) {
    localPortRowsAre({1});
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();
    const auto row = root->localManagementAddress(ipv4(1));

    lldpRootResetForTesting();  // the new machine publishes the root again
    const auto replaced =
        root->lldpSmIs(status, localSystem, Zim::makePtr<Lldp::Config>("c"), root);
    EXPECT_NE(replaced.get(), sm.get());
    EXPECT_EQ(root->lldpSm().get(), replaced.get());
    EXPECT_EQ(root->localManagementAddress(ipv4(1)).get(), row.get());
    EXPECT_EQ(portsOf(ipv4(1)), (std::vector<uint16_t>{1}));

    // The new machine follows the agent on its own.
    sm = nullptr;
    localSystem->managementAddressPrioDel(first);
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
}

TEST_F(LldpSmTest, AMachineWithoutARootIsRefused) {
    try {
        root->lldpSmIs(status, localSystem, config, nullptr);
        FAIL() << "a machine without a root was made";
    } catch (const Zim::RangeException& e) {
        EXPECT_STREQ(e.what(), "null ValidPtr");
    }
    EXPECT_FALSE(root->lldpSm());
}

TEST_F(LldpSmTest, ADroppedLocalSystemStopsTheMirroringButKeepsTheRows) {
    advertise(ipv4(1));
    start();
    sm->localSystemDel();
    localSystem->managementAddressDel(ipv4(1));
    EXPECT_TRUE(root->localManagementAddress(ipv4(1)));
    EXPECT_FALSE(sm->localSystem());
}

// --- traces --------------------------------------------------------------------------------

TEST_F(LldpSmTest, EveryStepIsTracedAndRowChangesAreJotted) {
    localPortRowsAre({4});
    advertise(ipv4(1));
    Jotlog::clear();
    ModelTest::TraceCapture trace;
    start();
    localSystem->managementAddressPrioIs(first, ipv4(1));
    sm->handleLocalPort(Ifkit::IntfId("Ethernet4"), port(4));

    const std::string key = Lldp::valueToStrep(ipv4(1));
    EXPECT_TRUE(trace.has(8, "LldpSm::handleInitialized()"));
    EXPECT_TRUE(trace.has(2, "LldpSm::handleManagementAddress( " + key + " )"));
    EXPECT_TRUE(trace.has(2, "LldpSm::handleManagementAddressPrio( 1 )"));
    EXPECT_TRUE(trace.has(2, "Adding LocalManagementAddress with key " + key));
    EXPECT_TRUE(trace.has(2, "Adding port 4 to ManagementAddress with key " + key));
    EXPECT_TRUE(trace.has(2, "LldpSm::handleLocalPort( 'Ethernet4' )"));
    EXPECT_TRUE(trace.has(2, "Removing port 4 from ManagementAddress with key " + key));

    std::vector<std::string> jotted;
    for (const auto& r : Jotlog::records()) jotted.push_back(r.text);
    EXPECT_NE(
        std::find(jotted.begin(), jotted.end(), "Adding LocalManagementAddress with key " + key),
        jotted.end());
    EXPECT_NE(std::find(jotted.begin(), jotted.end(),
                        "Removing port 4 from ManagementAddress with key " + key),
              jotted.end());
}

// --- broken contracts stop the process -----------------------------------------------------

TEST_F(LldpSmDeathTest, ASecondFirstPassStops) {
    start();
    EXPECT_DEATH(sm->handleInitialized(), ModelTest::assertionText("!initialized()"));
}

TEST_F(LldpSmDeathTest, APriorityNamingAnAbsentAddressStops) {
    start();
    EXPECT_DEATH(localSystem->managementAddressPrioIs(first, ipv4(1)),
                 ModelTest::assertionText(
                     "localSystem()->managementAddressIteratorConst().isMemberOf( manAddrKey )"));
}

TEST_F(LldpSmDeathTest, ARenewedPriorityOfARemovedAddressStops) {
    advertise(ipv4(1));
    localSystem->managementAddressPrioIs(first, ipv4(1));
    start();
    localSystem->managementAddressDel(ipv4(1));
    EXPECT_DEATH(sm->handleManagementAddressPrio(first),
                 ModelTest::assertionText(
                     "localSystem()->managementAddressIteratorConst().isMemberOf( manAddrKey )"));
}

}  // namespace
