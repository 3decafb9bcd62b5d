// Remote mirroring: one RemoteSystem row and six kinds of sub-rows per neighbour the agent lists
// on an interface, the neighbour row first in and last out, and doClose taking away everything
// the interface's machine put in.
#include "model/PortStatusSm.h"
#include "model/RemoteSystemSm.h"
#include "test_model_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Lldp::Snmp;
using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using ModelTest::ipv4;
using ModelTest::port;
using ModelTest::RootRecorder;

const Lldp::UnknownOrgDefTlv::Key orgDefKey(Lldp::Oui(0x00120f), 7, 1);

// A neighbour with one member in each of its six sub-tables; seed tells neighbours apart.
Zim::Ptr<Lldp::RemoteSystem> neighbourWithEverything(int32_t index, unsigned char seed) {
    auto n = Zim::makePtr<Lldp::RemoteSystem>("neighbour" + std::to_string(index), index);
    n->managementAddressIs(ipv4(seed), ModelTest::managementAddress(ipv4(seed)));
    n->unknownTlvIs(100, Lldp::UnknownTlv(100, "unknown"));
    n->unknownOrgDefTlvIs(orgDefKey, Lldp::UnknownOrgDefTlv(orgDefKey, "org"));
    n->portAndProtocolVlanIs(VlanIdOrNone(10),
                             Lldp::PortAndProtocolVlan(VlanIdOrNone(10), true, false));
    n->vlanNameIs(VlanId(20), Lldp::VlanName(VlanId(20), "twenty"));
    n->protocolIdentityInfoIs(1, Lldp::ProtocolIdentityInfo(1, "stp"));
    return n;
}

// The root's notification lines for the six sub-rows of one neighbour, in the fixed order.
std::vector<std::string> subRowEvents(uint16_t p, int32_t index, unsigned char seed) {
    return {
        "RemoteManagementAddress " +
            valueToStrep(RemoteManagementAddressKey(port(p), index, ipv4(seed))),
        "RemoteUnknownTlv " + valueToStrep(RemoteUnknownTlvKey(port(p), index, 100)),
        "RemoteUnknownOrgDefTlv " +
            valueToStrep(RemoteUnknownOrgDefTlvKey(port(p), index, orgDefKey.oui(),
                                                   orgDefKey.subtype(), orgDefKey.index())),
        "RemotePortAndProtocolVlan " +
            valueToStrep(RemotePortAndProtocolVlanKey(port(p), index, VlanIdOrNone(10))),
        "RemoteVlanName " + valueToStrep(RemoteVlanNameKey(port(p), index, VlanId(20))),
        "RemoteProtocolIdentityInfo " +
            valueToStrep(RemoteProtocolIdentityInfoKey(port(p), index, 1)),
    };
}

std::string remoteSystemEvent(uint16_t p, int32_t index) {
    return "RemoteSystem " + valueToStrep(RemoteSystemKey(port(p), index));
}

class RemoteMirroringTest : public ::testing::Test {
protected:
    Root::Ptr root = rootFactory("root");
    Zim::Ptr<Lldp::PortStatus> portStatus = Zim::makePtr<Lldp::PortStatus>("Ethernet3");
    PortStatusSm::Ptr sm;

    // The machines hold the root and the root holds them: break the cycle.
    void TearDown() override {
        root->portStatusSmDelAll();
        sm = nullptr;
    }

    void start() { sm = root->portStatusSmIs(port(3), portStatus, root); }

    size_t subRows() const {
        return root->remoteManagementAddress().size() + root->remoteUnknownTlv().size() +
               root->remoteUnknownOrgDefTlv().size() + root->remotePortAndProtocolVlan().size() +
               root->remoteVlanName().size() + root->remoteProtocolIdentityInfo().size();
    }
};

using RemoteMirroringDeathTest = RemoteMirroringTest;

// --- neighbours ----------------------------------------------------------------------------

TEST_F(RemoteMirroringTest, TwoNeighboursAtStartAreMirroredBeforeTheMachineIsReturned) {
    const auto one = neighbourWithEverything(1, 1);
    const auto two = neighbourWithEverything(2, 2);
    portStatus->remoteSystemIs(1, one);
    portStatus->remoteSystemIs(2, two);
    start();

    ASSERT_EQ(root->remoteSystem().size(), 2u);
    EXPECT_EQ(root->remoteSystem({port(3), 1})->ptr().get(), one.get());
    EXPECT_EQ(root->remoteSystem({port(3), 2})->ptr().get(), two.get());
    EXPECT_EQ(subRows(), 12u);
    EXPECT_EQ(sm->remoteSystemSm().size(), 2u);

    const auto* address = root->remoteManagementAddress({port(3), 2, ipv4(2)});
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(address->ptr.get(), two.get());
    EXPECT_EQ(address->rawValue, ModelTest::managementAddress(ipv4(2)));
    const auto* orgDef = root->remoteUnknownOrgDefTlv(
        {port(3), 1, orgDefKey.oui(), orgDefKey.subtype(), orgDefKey.index()});
    ASSERT_NE(orgDef, nullptr);
    EXPECT_EQ(orgDef->rawValue.info(), Zim::String8("org"));
}

TEST_F(RemoteMirroringTest, ANeighbourRowComesBeforeItsSubRowsAndGoesAfterThem) {
    start();
    RootRecorder recorder(root);
    portStatus->remoteSystemIs(4, neighbourWithEverything(4, 9));

    std::vector<std::string> added{remoteSystemEvent(3, 4)};
    for (const auto& e : subRowEvents(3, 4, 9)) added.push_back(e);
    EXPECT_EQ(recorder.events, added);

    recorder.events.clear();
    portStatus->remoteSystemDel(4);
    std::vector<std::string> removed = subRowEvents(3, 4, 9);
    removed.push_back(remoteSystemEvent(3, 4));
    EXPECT_EQ(recorder.events, removed);
    EXPECT_TRUE(root->remoteSystem().empty());
    EXPECT_EQ(subRows(), 0u);
    EXPECT_FALSE(sm->remoteSystemSm(4));
}

TEST_F(RemoteMirroringTest, AMachineAskedForAgainWithTheSameNeighbourIsKept) {
    const auto one = neighbourWithEverything(1, 1);
    portStatus->remoteSystemIs(1, one);
    start();
    const auto machine = sm->remoteSystemSm(1);
    ASSERT_TRUE(machine);
    EXPECT_TRUE(machine->hasNotificationActive());
    EXPECT_EQ(sm->remoteSystemSmIs(1, port(3), one, root).get(), machine.get());
}

TEST_F(RemoteMirroringTest, AnotherNeighbourEntityUnderAKnownIndexIsRefusedAndNothingChanges) {
    const auto one = neighbourWithEverything(1, 1);
    portStatus->remoteSystemIs(1, one);
    start();
    RootRecorder recorder(root);

    try {
        portStatus->remoteSystemIs(1, neighbourWithEverything(1, 2));
        FAIL() << "another neighbour under index 1 was accepted";
    } catch (const Zim::NameInUseException& e) {
        EXPECT_EQ(std::string(e.what()).rfind("Reinstantiating the pointer interface where "
                                              "constructor parameter attribute _remoteSystem has "
                                              "a different value of ",
                                              0),
                  0u)
            << e.what();
    }
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_EQ(root->remoteSystem({port(3), 1})->ptr().get(), one.get());
    EXPECT_EQ(sm->remoteSystemSm(1)->remoteSystem().get(), one.get());
}

// --- sub-tables ----------------------------------------------------------------------------

TEST_F(RemoteMirroringTest, AMemberChangedInPlaceRewritesItsRowUnderTheSameKey) {
    const auto one = neighbourWithEverything(1, 1);
    portStatus->remoteSystemIs(1, one);
    start();
    RootRecorder recorder(root);

    one->vlanNameIs(VlanId(20), Lldp::VlanName(VlanId(20), "renamed"));
    one->unknownTlvIs(100, Lldp::UnknownTlv(100, "changed"));

    EXPECT_EQ(subRows(), 6u);
    EXPECT_EQ(root->remoteVlanName({port(3), 1, VlanId(20)})->rawValue.vlanName(),
              Zim::String8("renamed"));
    EXPECT_EQ(root->remoteUnknownTlv({port(3), 1, 100})->rawValue.info(), Zim::String8("changed"));
    const auto events = subRowEvents(3, 1, 1);
    EXPECT_EQ(recorder.events, (std::vector<std::string>{events[4], events[1]}));
}

TEST_F(RemoteMirroringTest, EachSubTableFollowsItsAgentCollection) {
    const auto one = neighbourWithEverything(1, 1);
    portStatus->remoteSystemIs(1, one);
    start();

    one->managementAddressIs(ipv4(7), ModelTest::managementAddress(ipv4(7)));
    one->unknownTlvIs(120, Lldp::UnknownTlv(120, "more"));
    const Lldp::UnknownOrgDefTlv::Key otherOrgDef(Lldp::Oui(0x0080c2), 1, 2);
    one->unknownOrgDefTlvIs(otherOrgDef, Lldp::UnknownOrgDefTlv(otherOrgDef, "dot1"));
    one->portAndProtocolVlanIs(VlanIdOrNone(0),
                               Lldp::PortAndProtocolVlan(VlanIdOrNone(0), true, true));
    one->vlanNameIs(VlanId(30), Lldp::VlanName(VlanId(30), "thirty"));
    one->protocolIdentityInfoIs(-2, Lldp::ProtocolIdentityInfo(-2, "lacp"));
    EXPECT_EQ(subRows(), 12u);
    EXPECT_NE(root->remoteManagementAddress({port(3), 1, ipv4(7)}), nullptr);
    EXPECT_NE(root->remoteUnknownTlv({port(3), 1, 120}), nullptr);
    EXPECT_NE(root->remoteUnknownOrgDefTlv({port(3), 1, otherOrgDef.oui(), 1, 2}), nullptr);
    EXPECT_NE(root->remotePortAndProtocolVlan({port(3), 1, VlanIdOrNone(0)}), nullptr);
    EXPECT_NE(root->remoteVlanName({port(3), 1, VlanId(30)}), nullptr);
    EXPECT_NE(root->remoteProtocolIdentityInfo({port(3), 1, -2}), nullptr);

    one->managementAddressDel(ipv4(1));
    one->unknownTlvDel(100);
    one->unknownOrgDefTlvDel(orgDefKey);
    one->portAndProtocolVlanDel(VlanIdOrNone(10));
    one->vlanNameDel(VlanId(20));
    one->protocolIdentityInfoDel(1);
    EXPECT_EQ(subRows(), 6u);
    EXPECT_EQ(root->remoteManagementAddress({port(3), 1, ipv4(1)}), nullptr);
    EXPECT_EQ(root->remoteUnknownTlv({port(3), 1, 100}), nullptr);
    EXPECT_EQ(root->remoteUnknownOrgDefTlv({port(3), 1, orgDefKey.oui(), 7, 1}), nullptr);
    EXPECT_EQ(root->remotePortAndProtocolVlan({port(3), 1, VlanIdOrNone(10)}), nullptr);
    EXPECT_EQ(root->remoteVlanName({port(3), 1, VlanId(20)}), nullptr);
    EXPECT_EQ(root->remoteProtocolIdentityInfo({port(3), 1, 1}), nullptr);
}

// --- closing -------------------------------------------------------------------------------

TEST_F(RemoteMirroringTest, ClosingAnInterfaceWithoutNeighboursRemovesNothing) {
    const auto otherStatus = Zim::makePtr<Lldp::PortStatus>("Ethernet4");
    otherStatus->remoteSystemIs(1, neighbourWithEverything(1, 1));
    root->portStatusSmIs(port(4), otherStatus, root);
    start();
    RootRecorder recorder(root);

    sm->invoke("doClose", {});
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_EQ(root->remoteSystem().size(), 1u);
    EXPECT_EQ(subRows(), 6u);
}

TEST_F(RemoteMirroringTest, ClosingRemovesTheInterfacesNeighboursOnly) {
    const auto otherStatus = Zim::makePtr<Lldp::PortStatus>("Ethernet4");
    otherStatus->remoteSystemIs(1, neighbourWithEverything(1, 1));
    root->portStatusSmIs(port(4), otherStatus, root);
    portStatus->remoteSystemIs(1, neighbourWithEverything(1, 2));
    portStatus->remoteSystemIs(2, neighbourWithEverything(2, 3));
    start();
    RootRecorder recorder(root);

    sm->doClose();
    EXPECT_EQ(recorder.of("RemoteSystem ").size(), 2u);
    // Each neighbour's sub-rows leave before its own row.
    for (int32_t index : {1, 2}) {
        const size_t rowGone = recorder.position(remoteSystemEvent(3, index));
        for (const auto& e : subRowEvents(3, index, static_cast<unsigned char>(index + 1))) {
            EXPECT_LT(recorder.position(e), rowGone) << e;
        }
    }
    ASSERT_EQ(root->remoteSystem().size(), 1u);
    EXPECT_EQ(root->remoteSystem().begin().key(), RemoteSystemKey(port(4), 1));
    EXPECT_EQ(subRows(), 6u);
    EXPECT_TRUE(sm->remoteSystemSm().empty());
}

TEST_F(RemoteMirroringTest, DroppingTheMachineWithoutClosingLeavesItsRows) {
    portStatus->remoteSystemIs(1, neighbourWithEverything(1, 1));
    start();
    root->portStatusSmDel(Ifkit::IntfId("Ethernet3"));
    EXPECT_FALSE(root->portStatusSm(Ifkit::IntfId("Ethernet3")));
    EXPECT_EQ(root->remoteSystem().size(), 1u);
    EXPECT_EQ(subRows(), 6u);
}

TEST_F(RemoteMirroringTest, AMutedMachineMissesChangesAndClosingStillRemovesWhatItAdded) {
    portStatus->remoteSystemIs(1, neighbourWithEverything(1, 1));
    start();
    sm->hasNotificationActiveIs(false);
    EXPECT_FALSE(sm->remoteSystemSm(1)->hasNotificationActive());

    portStatus->remoteSystemIs(2, neighbourWithEverything(2, 2));
    portStatus->remoteSystemDel(1);
    EXPECT_EQ(root->remoteSystem().size(), 1u);
    EXPECT_TRUE(root->remoteSystem({port(3), 1}));

    sm->hasNotificationActiveIs(true);
    EXPECT_TRUE(sm->remoteSystemSm(1)->hasNotificationActive());
    sm->doClose();
    EXPECT_TRUE(root->remoteSystem().empty());
    EXPECT_EQ(subRows(), 0u);
}

// --- the interface's machine in the root ---------------------------------------------------

TEST_F(RemoteMirroringTest, AskingAgainWithTheSameParametersReturnsTheSameMachine) {
    start();
    EXPECT_TRUE(sm->hasNotificationActive());
    EXPECT_EQ(root->portStatusSmIs(port(3), portStatus, root).get(), sm.get());
    EXPECT_EQ(root->portStatusSm(Ifkit::IntfId("Ethernet3")).get(), sm.get());
}

TEST_F(RemoteMirroringTest, AnotherPortNumberForTheInterfaceIsRefused) {
    start();
    try {
        root->portStatusSmIs(port(4), portStatus, root);
        FAIL() << "port 4 was accepted for a machine on port 3";
    } catch (const Zim::NameInUseException& e) {
        EXPECT_STREQ(e.what(),
                     "Reinstantiating the pointer interface where constructor parameter attribute "
                     "_ethPortId has a different value of 4 than the current value of 3 not "
                     "allowed");
    }
    EXPECT_EQ(root->portStatusSm(Ifkit::IntfId("Ethernet3"))->ethPortId(), port(3));
}

TEST_F(RemoteMirroringTest, AnotherStatusOrRootForTheInterfaceIsRefused) {
    start();
    const auto prefix = [](const char* attribute) {
        return std::string("Reinstantiating the pointer interface where constructor parameter "
                           "attribute ") +
               attribute + " has a different value of ";
    };
    const auto sameName = Zim::makePtr<Lldp::PortStatus>("Ethernet3");
    try {
        root->portStatusSmIs(port(3), sameName, root);
        FAIL() << "another status entity was accepted";
    } catch (const Zim::NameInUseException& e) {
        EXPECT_EQ(std::string(e.what()).rfind(prefix("_portStatus"), 0), 0u) << e.what();
    }
    const auto otherRoot = rootFactory("other");
    try {
        root->portStatusSmIs(port(3), portStatus, otherRoot);
        FAIL() << "another root was accepted";
    } catch (const Zim::NameInUseException& e) {
        EXPECT_EQ(std::string(e.what()).rfind(prefix("_root"), 0), 0u) << e.what();
    }
    EXPECT_THROW(root->portStatusSmIs(port(3), nullptr, root), Zim::RangeException);
}

// --- traces --------------------------------------------------------------------------------

TEST_F(RemoteMirroringTest, HandlersAndRowChangesAreTraced) {
    ModelTest::TraceCapture trace;
    const auto one = neighbourWithEverything(1, 1);
    portStatus->remoteSystemIs(1, one);
    start();
    one->vlanNameDel(VlanId(20));
    portStatus->remoteSystemDel(1);

    const std::string neighbourKey = valueToStrep(RemoteSystemKey(port(3), 1));
    EXPECT_TRUE(trace.has(1, "PortStatusSm::handleInitialized( 3 )"));
    EXPECT_TRUE(trace.has(1, "RemoteSystemSm::handleInitialized( " + neighbourKey + " )"));
    EXPECT_TRUE(trace.has(2, "Adding RemoteSystem with key " + neighbourKey));
    EXPECT_TRUE(trace.has(2, "Adding VlanName with key " +
                                 valueToStrep(RemoteVlanNameKey(port(3), 1, VlanId(20)))));
    EXPECT_TRUE(trace.has(2, "RemoteSystemSm::handleVlanName( " + neighbourKey + ", 20 )"));
    EXPECT_TRUE(trace.has(2, "Removing VlanName with key " +
                                 valueToStrep(RemoteVlanNameKey(port(3), 1, VlanId(20)))));
    EXPECT_TRUE(trace.has(2, "PortStatusSm::handleRemoteSystem( 3, 1 )"));
    EXPECT_TRUE(trace.has(1, "RemoteSystemSm::doClose( " + neighbourKey + " )"));
    EXPECT_TRUE(trace.has(
        2, "Removing UnknownOrgDefTlv with key " +
               valueToStrep(RemoteUnknownOrgDefTlvKey(port(3), 1, orgDefKey.oui(), 7, 1))));
    EXPECT_TRUE(trace.has(2, "Removing RemoteSystem with key " + neighbourKey));
}

// --- broken contracts stop the process -----------------------------------------------------

TEST_F(RemoteMirroringDeathTest, ASecondFirstPassStops) {
    portStatus->remoteSystemIs(1, neighbourWithEverything(1, 1));
    start();
    EXPECT_DEATH(sm->handleInitialized(), ModelTest::assertionText("!initialized()"));
    EXPECT_DEATH(sm->remoteSystemSm(1)->handleInitialized(),
                 ModelTest::assertionText("!initialized()"));
}

}  // namespace
