// The applier publishes a document as a difference: reactors hear of what changed and of
// nothing else, a neighbour that changes keeps its entity, and the counters follow.
#include "state/StateApplier.h"
#include "state/StateParser.h"

#include "platform/zim/Clock.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace {

using namespace LldpSnmpd;

const std::string local =
    R"("localSystem": {"chassisIdSubtype": "local", "chassisId": "leaf1", "sysName": "leaf1"})";

std::string neighbour(int index, const std::string& sysName) {
    return R"({"index": )" + std::to_string(index) +
           R"(, "chassisIdSubtype": 7, "chassisId": "c", "portIdSubtype": 7, "portId": "p",
              "sysName": ")" +
           sysName + R"(", "unknownTlvs": [{"type": 9, "info": "i"}]})";
}

std::string stateFile(const std::string& neighbours, const std::string& more = "") {
    return "{" + local + R"(, "interfaces": [{"name": "Ethernet1", "portNum": 1,
        "neighbors": [)" +
           neighbours + "]}" + more + "]}";
}

StateDoc state(const std::string& neighbours, const std::string& more = "") {
    return parseState(stateFile(neighbours, more));
}

// Counts every change a neighbour's entity announces.
struct ChangeCounter : Lldp::RemoteSystem::Notifiee {
    int changes = 0;
    void onSysName() override { ++changes; }
    void onSysDesc() override { ++changes; }
    void onLastChangeTime() override { ++changes; }
    void onUnknownTlv(const uint32_t&) override { ++changes; }
};

class StateApplierTest : public testing::Test {
protected:
    void SetUp() override { Zim::nowIs(1000.0); }
    void TearDown() override { Zim::nowIs(std::nullopt); }

    Zim::Ptr<Lldp::RemoteSystem> remote(int index) const {
        auto ps = store.status()->portStatus().find(Ifkit::IntfId(Zim::String8("Ethernet1")));
        const auto* rs = ps ? (*ps)->remoteSystem().find(index) : nullptr;
        return rs ? *rs : nullptr;
    }

    StateStore store;
    StateApplier applier{store};
};

TEST_F(StateApplierTest, AnUnchangedDocumentChangesNothing) {
    auto doc = state(neighbour(1, "spine1") + "," + neighbour(2, "spine2"));
    auto first = applier.stateIs(doc);
    EXPECT_EQ(first.interfacesAdded, 1u);
    EXPECT_EQ(first.neighborsAdded, 2u);
    ChangeCounter counter;
    counter.notifierIs(remote(1));
    Zim::nowIs(2000.0);

    auto again = applier.stateIs(doc);
    EXPECT_EQ(again.interfacesAdded + again.interfacesRemoved + again.neighborsAdded +
                  again.neighborsRemoved + again.neighborsChanged,
              0u);
    EXPECT_FALSE(again.remoteTablesChanged());
    EXPECT_EQ(counter.changes, 0);
    EXPECT_EQ(store.status()->remTablesInserts(), 2u);
    EXPECT_EQ(store.status()->remTablesLastChangeTime(), 1000.0);
}

TEST_F(StateApplierTest, AChangedNeighbourIsOneChangeAndKeepsItsEntity) {
    applier.stateIs(state(neighbour(1, "spine1") + "," + neighbour(2, "spine2")));
    auto before = remote(1);
    ChangeCounter counter;
    counter.notifierIs(before);
    Zim::nowIs(2000.0);

    auto summary = applier.stateIs(state(neighbour(1, "spine9") + "," + neighbour(2, "spine2")));
    EXPECT_EQ(summary.neighborsChanged, 1u);
    EXPECT_EQ(summary.neighborsAdded + summary.neighborsRemoved, 0u);
    EXPECT_EQ(remote(1), before);
    EXPECT_EQ(before->sysName().str(), "spine9");
    EXPECT_EQ(before->lastChangeTime(), 2000.0);
    EXPECT_EQ(counter.changes, 2); // the name and the change time, nothing else
    EXPECT_EQ(remote(2)->lastChangeTime(), 1000.0);
    EXPECT_EQ(store.status()->remTablesLastChangeTime(), 2000.0);
    EXPECT_EQ(store.status()->remTablesInserts(), 2u);
}

TEST_F(StateApplierTest, NeighboursAndInterfacesThatComeAndGoAreCounted) {
    applier.stateIs(state(neighbour(1, "a") + "," + neighbour(2, "b")));
    auto summary = applier.stateIs(state(neighbour(2, "b") + "," + neighbour(3, "c"),
                                         R"(, {"name": "Ethernet2", "portNum": 2})"));
    EXPECT_EQ(summary.neighborsAdded, 1u);
    EXPECT_EQ(summary.neighborsRemoved, 1u);
    EXPECT_EQ(summary.interfacesAdded, 1u);
    EXPECT_EQ(store.status()->remTablesInserts(), 3u);
    EXPECT_EQ(store.status()->remTablesDeletes(), 1u);
    EXPECT_FALSE(remote(1));

    auto gone = applier.stateIs(parseState("{" + local + "}"));
    EXPECT_EQ(gone.interfacesRemoved, 2u);
    EXPECT_EQ(gone.neighborsRemoved, 2u);
    EXPECT_EQ(store.status()->remTablesDeletes(), 3u);
    EXPECT_TRUE(store.status()->portStatus().empty());
}

TEST_F(StateApplierTest, CountersGivenByTheDocumentWinAndCountingGoesOnFromThem) {
    applier.stateIs(parseState(
        "{" + local + R"(, "status": {"remTablesInserts": 40, "remTablesLastChangeTime": 5})" +
        R"(, "config": {"txDelay": 7}})"));
    EXPECT_EQ(store.status()->remTablesInserts(), 40u);
    EXPECT_EQ(store.status()->remTablesLastChangeTime(), 5.0);
    EXPECT_EQ(store.config()->txDelay(), 7);
    EXPECT_EQ(store.localSystem()->sysName().str(), "leaf1");
    applier.stateIs(state(neighbour(1, "a")));
    EXPECT_EQ(store.status()->remTablesInserts(), 41u);
    EXPECT_EQ(store.config()->txDelay(), 2);
}

// A reload is planned off the loop against the applied state: the plan holds only what
// changed, and once applied a print of every neighbour served is kept.
TEST_F(StateApplierTest, APlanHoldsOnlyTheDifferenceAndEveryServedNeighbourKeepsAPrint) {
    applier.stateIs(state(neighbour(1, "a") + "," + neighbour(2, "b") + "," + neighbour(3, "c") +
                          "," + neighbour(4, "d")));
    ChangeCounter untouched;
    untouched.notifierIs(remote(1));

    auto plan = applier.plan(state(neighbour(1, "a") + "," + neighbour(2, "b2") + "," +
                                   neighbour(4, "d") + "," + neighbour(5, "e")));
    EXPECT_EQ(plan.neighboursToApply(), 3u); // 2 changed, 3 gone, 5 added
    auto summary = applier.apply(std::move(plan));
    EXPECT_EQ(summary.neighborsChanged, 1u);
    EXPECT_EQ(summary.neighborsRemoved, 1u);
    EXPECT_EQ(summary.neighborsAdded, 1u);
    EXPECT_EQ(untouched.changes, 0);

    const auto& kept = applier.applied().interfaces.begin()->second;
    ASSERT_EQ(kept.neighbors.size(), 4u);
    EXPECT_TRUE(kept.neighbor(1) && kept.neighbor(2) && kept.neighbor(4) && kept.neighbor(5));
    EXPECT_FALSE(kept.neighbor(3));
    EXPECT_EQ(remote(2)->sysName().str(), "b2");
    EXPECT_EQ(remote(5)->sysName().str(), "e");
    EXPECT_FALSE(remote(3));

    // Compared with the document it now holds, the same state is no change at all.
    EXPECT_EQ(applier
                  .plan(state(neighbour(1, "a") + "," + neighbour(2, "b2") + "," +
                              neighbour(4, "d") + "," + neighbour(5, "e")))
                  .neighboursToApply(),
              0u);
}

TEST_F(StateApplierTest, AStatedChangeTimeAloneMovesOnlyTheTime) {
    auto timed = [](int index, const std::string& name, int time) {
        auto text = neighbour(index, name);
        return text.insert(1, R"("lastChangeTime": )" + std::to_string(time) + ", ");
    };
    applier.stateIs(state(timed(1, "a", 500) + "," + timed(2, "b", 500)));
    ChangeCounter counter;
    counter.notifierIs(remote(1));

    auto summary = applier.stateIs(state(timed(1, "a", 600) + "," + timed(2, "b", 500)));
    EXPECT_EQ(summary.neighborsChanged, 0u);
    EXPECT_EQ(counter.changes, 1);
    EXPECT_EQ(remote(1)->lastChangeTime(), 600.0);
    EXPECT_EQ(remote(2)->lastChangeTime(), 500.0);
    EXPECT_EQ(
        applier.plan(state(timed(1, "a", 600) + "," + timed(2, "b", 500))).neighboursToApply(), 0u);
}

TEST_F(StateApplierTest, APortOfItsOwnChangesWithoutItsNeighbours) {
    auto withDesc = [](const std::string& desc) {
        return parseState("{" + local + R"(, "interfaces": [{"name": "Ethernet1", "portNum": 1,
            "local": {"portDesc": ")" +
                          desc + R"("}, "neighbors": [)" + neighbour(1, "a") + "]}]}");
    };
    applier.stateIs(withDesc("uplink"));
    ChangeCounter counter;
    counter.notifierIs(remote(1));
    auto summary = applier.stateIs(withDesc("downlink"));
    EXPECT_FALSE(summary.remoteTablesChanged());
    EXPECT_EQ(counter.changes, 0);
    const auto* port =
        store.localSystem()->localPort().find(Ifkit::IntfId(Zim::String8("Ethernet1")));
    ASSERT_TRUE(port);
    EXPECT_EQ((*port)->portDesc().str(), "downlink");
}

TEST_F(StateApplierTest, ChangeTimesStillToComeAreTakenAsTheMomentOfApplying) {
    const std::string year2100 = "4102444800";
    auto doc = [&](const std::string& sysName) {
        auto text = "{" + local + R"(, "status": {"remTablesLastChangeTime": )" + year2100 +
                    R"(}, "interfaces": [{"name": "Ethernet1", "portNum": 1, "neighbors": [)";
        auto n = neighbour(1, sysName);
        n.insert(n.size() - 1, ", \"lastChangeTime\": " + year2100);
        return parseState(text + n + "]}]}");
    };
    applier.stateIs(doc("spine1"));
    EXPECT_EQ(remote(1)->lastChangeTime(), 1000.0);
    EXPECT_EQ(store.status()->remTablesLastChangeTime(), 1000.0);

    // The same file again moves nothing; a changed neighbour moves to the new moment.
    ChangeCounter counter;
    counter.notifierIs(remote(1));
    Zim::nowIs(2000.0);
    applier.stateIs(doc("spine1"));
    EXPECT_EQ(counter.changes, 0);
    EXPECT_EQ(remote(1)->lastChangeTime(), 1000.0);
    EXPECT_EQ(store.status()->remTablesLastChangeTime(), 1000.0);
    applier.stateIs(doc("spine2"));
    EXPECT_EQ(remote(1)->lastChangeTime(), 2000.0);
}

// The same neighbour written another way (a subtype by name instead of number, keys in another
// order) reads to another print but sends the same: it is not a change, and its time stays.
TEST_F(StateApplierTest, TheSameNeighbourWrittenAnotherWayIsNoChange) {
    applier.stateIs(state(neighbour(1, "spine1")));
    ChangeCounter counter;
    counter.notifierIs(remote(1));
    Zim::nowIs(2000.0);
    auto respelt = state(R"({"sysName": "spine1", "portId": "p", "portIdSubtype": "local",
        "chassisId": "c", "chassisIdSubtype": "local", "index": 1,
        "unknownTlvs": [{"info": "i", "type": 9}]})");
    auto plan = applier.plan(respelt);
    EXPECT_EQ(plan.neighboursToApply(), 1u); // another print: compared on the entity
    auto summary = applier.apply(std::move(plan));
    EXPECT_EQ(summary.neighborsChanged, 0u);
    EXPECT_EQ(counter.changes, 0);
    EXPECT_EQ(store.status()->remTablesLastChangeTime(), 1000.0);
    // Its new print is kept: the same spelling again is not even compared.
    EXPECT_EQ(applier.plan(respelt).neighboursToApply(), 0u);
}

// A large difference is applied in steps; between two steps every neighbour is either all as it
// was or all as it is now, and the remote tables' counters and change time move once, at the end.
TEST_F(StateApplierTest, ALargeDifferenceAppliesInStepsEachNeighbourWhole) {
    auto described = [](const std::string& generation, int count) {
        std::string list;
        for (int i = 1; i <= count; ++i) {
            auto n = neighbour(i, generation + std::to_string(i));
            n.insert(n.size() - 1, R"(, "sysDesc": ")" + generation + std::to_string(i) + "\"");
            list += (i > 1 ? "," : "") + n;
        }
        return list;
    };
    applier.stateIs(state(described("old", 20)));
    Zim::nowIs(2000.0);
    applier.begin(applier.plan(state(described("new", 20), R"(, {"name": "Ethernet2",
        "portNum": 2, "neighbors": [)" + neighbour(1, "added") +
                                                               "]}")));
    int steps = 0;
    bool sawBoth = false;
    std::optional<ApplySummary> summary;
    while (!(summary = applier.step(3))) {
        ++steps;
        ASSERT_TRUE(applier.applying());
        int changed = 0;
        for (int i = 1; i <= 20; ++i) {
            auto rs = remote(i);
            ASSERT_TRUE(rs);
            EXPECT_EQ(rs->sysName(), rs->sysDesc()) << "neighbour " << i << " after step " << steps;
            changed += rs->sysName().str().starts_with("new");
        }
        sawBoth = sawBoth || (changed > 0 && changed < 20);
        EXPECT_EQ(store.status()->remTablesLastChangeTime(), 1000.0);
    }
    EXPECT_EQ(steps, 6); // 21 neighbours, 3 a step: the seventh ends it
    EXPECT_TRUE(sawBoth);
    EXPECT_FALSE(applier.applying());
    EXPECT_EQ(summary->neighborsChanged, 20u);
    EXPECT_EQ(summary->neighborsAdded, 1u);
    EXPECT_EQ(summary->interfacesAdded, 1u);
    EXPECT_EQ(store.status()->remTablesInserts(), 21u);
    EXPECT_EQ(store.status()->remTablesLastChangeTime(), 2000.0);
    EXPECT_EQ(applier
                  .plan(state(described("new", 20), R"(, {"name": "Ethernet2",
        "portNum": 2, "neighbors": [)" + neighbour(1, "added") +
                                                        "]}"))
                  .neighboursToApply(),
              0u);
}

// Reading a file beside the applied state leaves out the neighbours applied just as the file has
// them: the document read holds only what may change, and the plan keeps the rest served.
TEST_F(StateApplierTest, NeighboursAppliedAsTheFileHasThemAreLeftOutOfTheDocumentRead) {
    const auto path = std::filesystem::path(testing::TempDir()) / "applied-neighbours.json";
    auto read = [&](const std::string& text) {
        std::ofstream(path) << text;
        return loadStateFile(
            path.string(), [&](const Ifkit::IntfId& intf, Interface::EthPortId port,
                               const NeighborDoc& n) { return applier.isApplied(intf, port, n); });
    };
    applier.stateIs(read(stateFile(neighbour(1, "a") + "," + neighbour(2, "b"))));
    auto untouched = remote(1);

    auto next =
        read(stateFile(neighbour(1, "a") + "," + neighbour(2, "b2") + "," + neighbour(3, "c")));
    const auto& intf = next.interfaces.begin()->second;
    EXPECT_EQ(intf.neighbors.size(), 2u);
    EXPECT_EQ(intf.unchanged, std::vector<int32_t>{1});
    auto summary = applier.stateIs(std::move(next));
    EXPECT_EQ(summary.neighborsChanged + summary.neighborsAdded + summary.neighborsRemoved, 2u);
    EXPECT_EQ(remote(1), untouched);
    EXPECT_EQ(remote(2)->sysName().str(), "b2");
    EXPECT_EQ(applier.applied().interfaces.begin()->second.neighbors.size(), 3u);

    // An index left out as applied still counts once per interface.
    try {
        read(stateFile(neighbour(1, "a") + "," + neighbour(1, "a")));
        FAIL() << "a duplicate index was accepted";
    } catch (const StateError& e) {
        EXPECT_EQ(e.path(), "$.interfaces[0].neighbors[1].index");
    }
    std::filesystem::remove(path);
}

} // namespace
