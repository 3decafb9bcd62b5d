// Remote mirroring: one RemoteSystem row and six kinds of sub-rows per neighbour the agent lists
// on an interface, the neighbour row first in and last out, and doClose taking away everything
// the interface's machine put in.
#include "model/PortStatusSm.h"
#include "model/RemoteSystemSm.h"
#include "test_model_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace Lldp::Snmp;
using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using ModelTest::ipv4;
using ModelTest::port;
using ModelTest::RootRecorder;
using ::testing::StartsWith;
using Events = std::vector<std::string>;

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
Events subRowEvents(uint16_t p, int32_t index, unsigned char seed) {
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

// The start of the refusal of a machine parameter that differs from the existing machine's.
std::string pointerInUse(const char* attribute) {
    return std::string("Reinstantiating the pointer interface where constructor parameter "
                       "attribute ") +
           attribute + " has a different value of ";
}

std::string nameInUse(const std::function<void()>& f) {
    return ModelTest::thrown<Zim::NameInUseException>(f);
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

    // Another interface, port 4, with one neighbour of its own.
    void otherInterfaceWithANeighbour() {
        const auto otherStatus = Zim::makePtr<Lldp::PortStatus>("Ethernet4");
        otherStatus->remoteSystemIs(1, neighbourWithEverything(1, 1));
        root->portStatusSmIs(port(4), otherStatus, root);
    }

    size_t subRows() const {
        return root->remoteManagementAddress().size() + root->remoteUnknownTlv().size() +
               root->remoteUnknownOrgDefTlv().size() + root->remotePortAndProtocolVlan().size() +
               root->remoteVlanName().size() + root->remoteProtocolIdentityInfo().size();
    }
};

using RemoteMirroringDeathTest = RemoteMirroringTest;

// --- neighbours ----------------------------------------------------------------------------

TEST_F(RemoteMirroringTest, NeighboursAtStartAreMirroredAndClosingRemovesThemAfterTheirSubRows) {
    otherInterfaceWithANeighbour();
    const auto two = neighbourWithEverything(2, 3);
    portStatus->remoteSystemIs(1, neighbourWithEverything(1, 2));
    portStatus->remoteSystemIs(2, two);
    start();
    ASSERT_EQ(root->remoteSystem().size(), 3u);
    EXPECT_EQ(root->remoteSystem({port(3), 2})->ptr().get(), two.get());
    EXPECT_EQ(subRows(), 18u);
    const auto* address = root->remoteManagementAddress({port(3), 2, ipv4(3)});
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(address->ptr.get(), two.get());
    EXPECT_EQ(address->rawValue, ModelTest::managementAddress(ipv4(3)));

    RootRecorder recorder(root);
    sm->doClose();
    EXPECT_EQ(recorder.events.size(), 14u);
    for (int32_t index : {1, 2}) {
        const size_t rowGone = recorder.position(remoteSystemEvent(3, index));
        ASSERT_LT(rowGone, recorder.events.size());
        for (const auto& e : subRowEvents(3, index, static_cast<unsigned char>(index + 1)))
            EXPECT_LT(recorder.position(e), rowGone) << e;
    }
    ASSERT_EQ(root->remoteSystem().size(), 1u);
    EXPECT_EQ(root->remoteSystem().begin().key(), RemoteSystemKey(port(4), 1));
    EXPECT_EQ(subRows(), 6u);
    EXPECT_TRUE(sm->remoteSystemSm().empty());
}

TEST_F(RemoteMirroringTest, ClosingAnInterfaceWithoutNeighboursRemovesNothing) {
    otherInterfaceWithANeighbour();
    start();
    RootRecorder recorder(root);
    sm->invoke("doClose", {});
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_EQ(subRows(), 6u);
}

TEST_F(RemoteMirroringTest, ANeighbourRowComesBeforeItsSubRowsAndGoesAfterThem) {
    start();
    RootRecorder recorder(root);
    portStatus->remoteSystemIs(4, neighbourWithEverything(4, 9));
    Events added{remoteSystemEvent(3, 4)};
    for (const auto& e : subRowEvents(3, 4, 9))
        added.push_back(e);
    EXPECT_EQ(recorder.events, added);

    recorder.events.clear();
    portStatus->remoteSystemDel(4);
    Events removed = subRowEvents(3, 4, 9);
    removed.push_back(remoteSystemEvent(3, 4));
    EXPECT_EQ(recorder.events, removed);
    EXPECT_FALSE(sm->remoteSystemSm(4));
}

TEST_F(RemoteMirroringTest, AnotherNeighbourEntityUnderAKnownIndexIsRefusedAndNothingChanges) {
    const auto one = neighbourWithEverything(1, 1);
    portStatus->remoteSystemIs(1, one);
    start();
    const auto machine = sm->remoteSystemSm(1);
    EXPECT_EQ(sm->remoteSystemSmIs(1, port(3), one, root).get(), machine.get());
    RootRecorder recorder(root);

    EXPECT_THAT(nameInUse([&] { portStatus->remoteSystemIs(1, neighbourWithEverything(1, 2)); }),
                StartsWith(pointerInUse("_remoteSystem")));
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
    EXPECT_EQ(recorder.events, (Events{events[4], events[1]}));
}

TEST_F(RemoteMirroringTest, EachSubTableFollowsItsAgentCollection) {
    const auto one = neighbourWithEverything(1, 1);
    portStatus->remoteSystemIs(1, one);
    start();

    const Lldp::UnknownOrgDefTlv::Key otherOrgDef(Lldp::Oui(0x0080c2), 1, 2);
    one->managementAddressIs(ipv4(7), ModelTest::managementAddress(ipv4(7)));
    one->unknownTlvIs(120, Lldp::UnknownTlv(120, "more"));
    one->unknownOrgDefTlvIs(otherOrgDef, Lldp::UnknownOrgDefTlv(otherOrgDef, "dot1"));
    one->portAndProtocolVlanIs(VlanIdOrNone(0),
                               Lldp::PortAndProtocolVlan(VlanIdOrNone(0), true, true));
    one->vlanNameIs(VlanId(30), Lldp::VlanName(VlanId(30), "thirty"));
    one->protocolIdentityInfoIs(-2, Lldp::ProtocolIdentityInfo(-2, "lacp"));
    EXPECT_EQ(subRows(), 12u);

    RootRecorder recorder(root);
    one->managementAddressDel(ipv4(1));
    one->unknownTlvDel(100);
    one->unknownOrgDefTlvDel(orgDefKey);
    one->portAndProtocolVlanDel(VlanIdOrNone(10));
    one->vlanNameDel(VlanId(20));
    one->protocolIdentityInfoDel(1);
    EXPECT_EQ(subRows(), 6u);
    EXPECT_EQ(recorder.events, subRowEvents(3, 1, 1));
}

// --- muting and the machine in the root --------------------------------------------------

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

TEST_F(RemoteMirroringTest, TheSameParametersGiveTheSameMachineAndOthersAreRefused) {
    start();
    EXPECT_EQ(root->portStatusSmIs(port(3), portStatus, root).get(), sm.get());
    EXPECT_EQ(nameInUse([&] { root->portStatusSmIs(port(4), portStatus, root); }),
              "Reinstantiating the pointer interface where constructor parameter attribute "
              "_ethPortId has a different value of 4 than the current value of 3 not allowed");
    const auto sameName = Zim::makePtr<Lldp::PortStatus>("Ethernet3");
    EXPECT_THAT(nameInUse([&] { root->portStatusSmIs(port(3), sameName, root); }),
                StartsWith(pointerInUse("_portStatus")));
    const auto otherRoot = rootFactory("other");
    EXPECT_THAT(nameInUse([&] { root->portStatusSmIs(port(3), portStatus, otherRoot); }),
                StartsWith(pointerInUse("_root")));
    EXPECT_THROW(root->portStatusSmIs(port(3), nullptr, root), Zim::RangeException);
    EXPECT_EQ(root->portStatusSm(Ifkit::IntfId("Ethernet3")).get(), sm.get());
}

// --- broken contracts stop the process -----------------------------------------------------

TEST_F(RemoteMirroringDeathTest, ASecondFirstPassStops) {
    portStatus->remoteSystemIs(1, neighbourWithEverything(1, 1));
    start();
    EXPECT_DEATH(sm->handleInitialized(), ModelTest::assertionText("!initialized()"));
    EXPECT_DEATH(sm->remoteSystemSm(1)->handleInitialized(),
                 ModelTest::assertionText("!initialized()"));
}

} // namespace
