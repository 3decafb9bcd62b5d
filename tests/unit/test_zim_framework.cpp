// The platform framework under the ways the plug-in leans on it: walks that survive changes to
// the collection, change hooks that fire only for real changes, reactors that come and go while
// they are being told, the state-store tree, binary strings, traces, the jot log, assertions
// and the value types' range checks.
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/PortTypes.h"
#include "platform/lldp/Values.h"
#include "platform/zim/Assert.h"
#include "platform/zim/Clock.h"
#include "platform/zim/Entity.h"
#include "platform/zim/Exception.h"
#include "platform/zim/HashMap.h"
#include "platform/zim/Jotlog.h"
#include "platform/zim/OrderedMap.h"
#include "platform/zim/String8.h"
#include "platform/zim/Trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// --- ordered map: walks across changes -----------------------------------------------------

using IntMap = Zim::OrderedMap<int, std::string>;

// Collections are counted objects: iterators hold a reference, so they must live in a Ptr.
Zim::Ptr<IntMap> mapOf(std::initializer_list<int> keys) {
    auto map = Zim::makePtr<IntMap>();
    for (int k : keys)
        map->set(k, "v" + std::to_string(k));
    return map;
}

// Walks the map, calling change(map, key) on each row before stepping past it.
template <class Change> std::vector<int> walk(const Zim::Ptr<IntMap>& map, Change change) {
    std::vector<int> seen;
    for (auto it = map->begin(); !it.atEnd(); ++it) {
        seen.push_back(it.key());
        if (seen.size() > 100)
            break; // a walk that loops must still end the test
        change(*map, it.key());
    }
    return seen;
}

TEST(ZimOrderedMap, WalksInKeyOrder) {
    auto map = mapOf({30, 10, 20});
    EXPECT_THAT(walk(map, [](IntMap&, int) {}), ElementsAre(10, 20, 30));
}

TEST(ZimOrderedMap, WalkSurvivesRemovalOfTheCurrentRow) {
    auto map = mapOf({10, 20, 30, 40});
    EXPECT_THAT(walk(map,
                     [](IntMap& m, int k) {
                         if (k == 20)
                             m.erase(20);
                     }),
                ElementsAre(10, 20, 30, 40));
}

TEST(ZimOrderedMap, WalkSurvivesRemovalOfTheNextRow) {
    auto map = mapOf({10, 20, 30, 40});
    EXPECT_THAT(walk(map,
                     [](IntMap& m, int k) {
                         if (k == 20)
                             m.erase(30);
                     }),
                ElementsAre(10, 20, 40));
}

TEST(ZimOrderedMap, WalkEndsWhenEverythingIsRemoved) {
    auto map = mapOf({10, 20, 30});
    EXPECT_THAT(walk(map,
                     [](IntMap& m, int k) {
                         if (k == 10)
                             m.clear();
                     }),
                ElementsAre(10));
}

TEST(ZimOrderedMap, CurrentRowStaysReadableAfterItIsRemoved) {
    auto map = mapOf({10, 20});
    auto it = map->begin();
    map->clear();
    EXPECT_EQ(it.key(), 10);
    EXPECT_EQ(it.value(), "v10");
    ++it;
    EXPECT_TRUE(it.atEnd());
}

TEST(ZimOrderedMap, RowsInsertedBeforeTheCurrentOneAreNotVisited) {
    auto map = mapOf({10, 20, 30});
    EXPECT_THAT(walk(map,
                     [](IntMap& m, int k) {
                         if (k == 20) {
                             m.set(5, "new");
                             m.set(15, "new");
                         }
                     }),
                ElementsAre(10, 20, 30));
}

TEST(ZimOrderedMap, RowsInsertedAfterTheCurrentOneAreVisitedInOrder) {
    auto map = mapOf({10, 20, 30});
    EXPECT_THAT(walk(map,
                     [](IntMap& m, int k) {
                         if (k == 20) {
                             m.set(40, "new");
                             m.set(25, "new");
                         }
                     }),
                ElementsAre(10, 20, 25, 30, 40));
}

TEST(ZimOrderedMap, RowRemovedAndPutBackIsNotVisitedTwice) {
    auto map = mapOf({10, 20, 30});
    EXPECT_THAT(walk(map,
                     [](IntMap& m, int k) {
                         if (k == 20) {
                             m.erase(20);
                             m.set(20, "again");
                         }
                     }),
                ElementsAre(10, 20, 30));
}

TEST(ZimOrderedMap, OverwriteInPlaceIsSeenByAnIteratorStandingOnTheRow) {
    auto map = mapOf({10, 20});
    auto it = map->at(10);
    EXPECT_TRUE(map->set(10, "changed"));
    EXPECT_EQ(it.value(), "changed");
    ++it;
    EXPECT_EQ(it.key(), 20);
}

TEST(ZimOrderedMap, IteratorKeepsTheCollectionAlive) {
    auto map = mapOf({10, 20});
    auto it = map->begin();
    map = nullptr;
    ++it;
    EXPECT_EQ(it.key(), 20);
    EXPECT_EQ(it.collection()->size(), 2u);
}

TEST(ZimOrderedMap, PositionedLookupsFindTheLeastKeyNotBeforeThem) {
    auto map = mapOf({10, 20, 30});
    EXPECT_EQ(map->lowerBound(20).key(), 20);
    EXPECT_EQ(map->lowerBound(21).key(), 30);
    EXPECT_EQ(map->upperBound(20).key(), 30);
    EXPECT_TRUE(map->upperBound(30).atEnd());
    EXPECT_TRUE(map->at(25).atEnd());
}

TEST(ZimOrderedMap, ClearReportsEachRowOnceWithItsKey) {
    auto map = Zim::makePtr<Zim::OrderedMap<std::string, int>>();
    for (const char* k : {"b", "a", "c"})
        map->set(k, 0);
    std::vector<std::string> changed;
    map->onChangeIs([&](const std::string& k) { changed.push_back(k); });
    map->clear();
    EXPECT_THAT(changed, ElementsAre("a", "b", "c"));
    EXPECT_TRUE(map->empty());
}

TEST(ZimOrderedMap, SettingAnUnchangedValueReportsNoChange) {
    auto map = mapOf({});
    std::vector<int> changed;
    map->onChangeIs([&](const int& k) { changed.push_back(k); });
    EXPECT_TRUE(map->set(1, "a"));
    const auto modifications = map->modifications();
    EXPECT_FALSE(map->set(1, "a"));
    EXPECT_EQ(map->modifications(), modifications);
    EXPECT_TRUE(map->set(1, "b"));
    EXPECT_TRUE(map->erase(1));
    EXPECT_FALSE(map->erase(1));
    EXPECT_THAT(changed, ElementsAre(1, 1, 1));
}

// --- hash map -------------------------------------------------------------------------------

TEST(ZimHashMap, ChangeHookRunsOncePerRealChange) {
    Zim::HashMap<int, std::string> map;
    std::vector<int> changed;
    map.onChangeIs([&](const int& k) { changed.push_back(k); });
    EXPECT_TRUE(map.set(1, "a"));
    EXPECT_FALSE(map.set(1, "a"));
    EXPECT_TRUE(map.set(1, "b"));
    EXPECT_TRUE(map.set(2, "c"));
    EXPECT_FALSE(map.erase(3));
    EXPECT_TRUE(map.erase(1));
    EXPECT_THAT(changed, ElementsAre(1, 1, 2, 1));
    EXPECT_EQ(map.size(), 1u);
    EXPECT_EQ(*map.find(2), "c");
}

TEST(ZimHashMap, ClearReportsEachMemberOnceWithItsKey) {
    Zim::HashMap<std::string, int> map;
    for (int k = 0; k < 5; ++k)
        map.set("member" + std::to_string(k), k);
    std::vector<std::string> changed;
    map.onChangeIs([&](const std::string& k) { changed.push_back(k); });
    map.clear();
    std::sort(changed.begin(), changed.end());
    EXPECT_THAT(changed, ElementsAre("member0", "member1", "member2", "member3", "member4"));
    EXPECT_TRUE(map.empty());
}

// --- reactors and attributes ----------------------------------------------------------------

struct SysNameCounter : Lldp::LocalSystem::Notifiee {
    int sysName = 0;
    int notifierChanges = 0;
    std::function<void()> whenTold;
    void onSysName() override {
        ++sysName;
        if (whenTold)
            whenTold();
    }
    void onNotifierIs() override { ++notifierChanges; }
};

Zim::Ptr<Lldp::LocalSystem> newLocalSystem(const char* name = "localSystem") {
    return Zim::makePtr<Lldp::LocalSystem>(name);
}

TEST(ZimReactor, RepointingDetachesFromTheOldEntity) {
    auto a = newLocalSystem("a");
    auto b = newLocalSystem("b");
    SysNameCounter r;
    r.notifierIs(a);
    r.notifierIs(b);
    EXPECT_EQ(r.notifierChanges, 2);
    EXPECT_TRUE(a->notifiees().empty());
    a->sysNameIs("x");
    EXPECT_EQ(r.sysName, 0);
    b->sysNameIs("x");
    EXPECT_EQ(r.sysName, 1);
}

TEST(ZimReactor, PointingAtTheSameEntityAgainAttachesOnce) {
    auto a = newLocalSystem();
    SysNameCounter r;
    r.notifierIs(a);
    r.notifierIs(a);
    EXPECT_EQ(a->notifiees().size(), 1u);
    a->sysNameIs("x");
    EXPECT_EQ(r.sysName, 1);
}

TEST(ZimReactor, PointingAtNoEntityStopsNotifications) {
    auto a = newLocalSystem();
    SysNameCounter r;
    r.notifierIs(a);
    r.notifierIs(nullptr);
    a->sysNameIs("x");
    EXPECT_EQ(r.sysName, 0);
    EXPECT_TRUE(a->notifiees().empty());
}

TEST(ZimReactor, MutedReactorHearsNothingUntilUnmuted) {
    auto a = newLocalSystem();
    SysNameCounter r;
    r.notifierIs(a);
    r.hasNotificationActiveIs(false);
    a->sysNameIs("x");
    EXPECT_EQ(r.sysName, 0);
    r.hasNotificationActiveIs(true);
    a->sysNameIs("y");
    EXPECT_EQ(r.sysName, 1);
}

TEST(ZimReactor, DestroyedReactorIsDetached) {
    auto a = newLocalSystem();
    {
        SysNameCounter r;
        r.notifierIs(a);
        EXPECT_EQ(a->notifiees().size(), 1u);
    }
    EXPECT_TRUE(a->notifiees().empty());
    a->sysNameIs("x"); // nobody left to tell; must not touch the destroyed reactor
}

TEST(ZimReactor, ReactorDetachingItselfWhileToldLeavesTheOthersTold) {
    auto a = newLocalSystem();
    SysNameCounter first, second;
    first.notifierIs(a);
    second.notifierIs(a);
    first.whenTold = [&] { first.notifierIs(nullptr); };
    a->sysNameIs("x");
    EXPECT_EQ(first.sysName, 1);
    EXPECT_EQ(second.sysName, 1);
    a->sysNameIs("y");
    EXPECT_EQ(first.sysName, 1);
    EXPECT_EQ(second.sysName, 2);
}

TEST(ZimReactor, ReactorDestroyedByAnotherWhileToldIsNotTold) {
    auto a = newLocalSystem();
    SysNameCounter first;
    auto second = std::make_unique<SysNameCounter>();
    first.notifierIs(a);
    second->notifierIs(a);
    first.whenTold = [&] { second.reset(); };
    a->sysNameIs("x");
    EXPECT_EQ(first.sysName, 1);
    EXPECT_FALSE(second);
    EXPECT_EQ(a->notifiees().size(), 1u);
}

TEST(ZimReactor, ReactorAttachedWhileOthersAreToldWaitsForTheNextChange) {
    auto a = newLocalSystem();
    SysNameCounter first, late;
    first.notifierIs(a);
    first.whenTold = [&] { late.notifierIs(a); };
    a->sysNameIs("x");
    EXPECT_EQ(late.sysName, 0);
    first.whenTold = nullptr;
    a->sysNameIs("y");
    EXPECT_EQ(late.sysName, 1);
}

TEST(ZimAttribute, SetterNotifiesOncePerRealChangeOnly) {
    auto a = newLocalSystem();
    SysNameCounter r;
    r.notifierIs(a);
    a->sysNameIs("switch");
    a->sysNameIs("switch");
    EXPECT_EQ(r.sysName, 1);
    EXPECT_EQ(a->sysName(), "switch");
    a->sysNameIs("");
    EXPECT_EQ(r.sysName, 2);
    a->sysNameIs("");
    EXPECT_EQ(r.sysName, 2);
}

TEST(ZimAttribute, SetterWithTheDefaultValueIsNoChange) {
    auto config = Zim::makePtr<Lldp::PortConfig>("Ethernet1");
    struct : Lldp::PortConfig::Notifiee {
        int told = 0;
        void onManAddrTxEnable() override { ++told; }
        void onEnabledTlvs() override { ++told; }
    } r;
    r.notifierIs(config);
    config->manAddrTxEnableIs(false);
    config->enabledTlvsIs(Lldp::PortConfig::EnabledTlvs());
    EXPECT_EQ(r.told, 0);
    config->manAddrTxEnableIs(true);
    config->enabledTlvsIs(Lldp::PortConfig::EnabledTlvs(0x3));
    EXPECT_EQ(r.told, 2);
}

TEST(ZimAttribute, CollectionMemberNotifiesWithItsKeyOnlyWhenItChanges) {
    auto a = newLocalSystem();
    struct : Lldp::LocalSystem::Notifiee {
        std::vector<Lldp::ManagementAddress::Key> told;
        void onManagementAddress(const Lldp::ManagementAddress::Key& k) override {
            told.push_back(k);
        }
    } r;
    r.notifierIs(a);
    const Lldp::ManagementAddress::Key key(1, Zim::String8("\x0a\x00\x00\x01", 4));
    const Lldp::ManagementAddress address(key, 2, 7, "1.3.6.1");
    a->managementAddressIs(key, address);
    a->managementAddressIs(key, address);
    a->managementAddressDel(key);
    a->managementAddressDel(key);
    ASSERT_EQ(r.told.size(), 2u);
    EXPECT_EQ(r.told[0], key);
    EXPECT_EQ(r.told[1], key);
}

TEST(ZimAttribute, ManagementAddressPriorityNotifiesOnlyOnRealChange) {
    auto a = newLocalSystem();
    struct : Lldp::LocalSystem::Notifiee {
        int told = 0;
        void onManagementAddressPrio(const Lldp::ManAddrPriority&) override { ++told; }
    } r;
    r.notifierIs(a);
    const Lldp::ManagementAddress::Key key(1, Zim::String8("\x0a\x00\x00\x01", 4));
    a->managementAddressPrioIs(Lldp::ManAddrPriority(1), key);
    a->managementAddressPrioIs(Lldp::ManAddrPriority(1), key);
    a->managementAddressPrioDel(Lldp::ManAddrPriority(2));
    a->managementAddressPrioDel(Lldp::ManAddrPriority(1));
    EXPECT_EQ(r.told, 2);
    EXPECT_TRUE(a->managementAddressPrio().empty());
}

// --- directories of entities ----------------------------------------------------------------

Zim::Ptr<Zim::Dir> newStore() {
    return Zim::makePtr<Zim::Dir>("store");
}

TEST(ZimDir, MountMakesTheDirectoriesOnTheWayAndLookupFindsTheEntity) {
    auto store = newStore();
    auto config = Zim::makePtr<Lldp::Config>("config");
    store->mount("Statestore/l2discovery/lldp/config", config);
    EXPECT_EQ(store->lookup("Statestore/l2discovery/lldp/config"), config);
    EXPECT_EQ(config->fullName(), "/store/Statestore/l2discovery/lldp/config");
    EXPECT_TRUE(Zim::ptrCast<Zim::Dir>(store->lookup("Statestore/l2discovery")));
}

TEST(ZimDir, LookupWithAMissingStepIsNull) {
    auto store = newStore();
    store->mount("a/b/c", Zim::makePtr<Lldp::Config>("c"));
    EXPECT_FALSE(store->lookup("a/x/c"));
    EXPECT_FALSE(store->lookup("a/b/d"));
    EXPECT_FALSE(store->lookup("x"));
    // Below an entity that is no directory there is nothing.
    EXPECT_FALSE(store->lookup("a/b/c/d"));
}

TEST(ZimDir, SecondMountIntoAnExistingDirectoryKeepsTheFirst) {
    auto store = newStore();
    auto first = Zim::makePtr<Lldp::Config>("config");
    auto second = Zim::makePtr<Lldp::LocalSystem>("localSystem");
    store->mount("lldp/config", first);
    store->mount("lldp/localSystem", second);
    EXPECT_EQ(store->lookup("lldp/config"), first);
    EXPECT_EQ(store->lookup("lldp/localSystem"), second);
}

TEST(ZimDir, ADifferentEntityUnderATakenNameIsRefused) {
    auto store = newStore();
    auto first = Zim::makePtr<Lldp::Config>("config");
    store->mount("lldp/config", first);
    store->mount("lldp/config", first); // the same entity again is no conflict
    try {
        store->mount("lldp/config", Zim::makePtr<Lldp::Config>("config"));
        FAIL() << "a second entity named config was accepted";
    } catch (const Zim::NameInUseException& e) {
        EXPECT_THAT(e.what(), HasSubstr("config"));
        EXPECT_THAT(e.what(), HasSubstr("Lldp::Config"));
    }
    EXPECT_EQ(store->lookup("lldp/config"), first);
}

TEST(ZimDir, ADirectoryCannotReplaceAnEntity) {
    auto store = newStore();
    store->mount("a/config", Zim::makePtr<Lldp::Config>("config"));
    EXPECT_THROW(store->mount("a/config/x", Zim::makePtr<Lldp::Config>("x")),
                 Zim::NameInUseException);
}

TEST(ZimDir, MountPathMustEndInTheEntitysName) {
    auto store = newStore();
    EXPECT_THROW(store->mount("a/other", Zim::makePtr<Lldp::Config>("config")),
                 Zim::RangeException);
}

TEST(ZimDir, RemovedEntityLosesItsParent) {
    auto store = newStore();
    auto config = Zim::makePtr<Lldp::Config>("config");
    store->mount("config", config);
    store->entityDel("config");
    EXPECT_FALSE(store->lookup("config"));
    EXPECT_EQ(config->parent(), nullptr);
    EXPECT_EQ(config->fullName(), "/config");
}

TEST(ZimDir, ChildOutlivingItsDirectoryNoLongerNamesIt) {
    auto config = Zim::makePtr<Lldp::Config>("config");
    {
        auto store = newStore();
        store->mount("a/config", config);
    }
    EXPECT_EQ(config->parent(), nullptr);
    EXPECT_EQ(config->fullName(), "/config");
}

// --- binary strings -------------------------------------------------------------------------

TEST(ZimString8, KeepsEmbeddedNulBytes) {
    const Zim::String8 a(std::string_view("a\0b", 3));
    const Zim::String8 c(std::string_view("a\0c", 3));
    EXPECT_EQ(a.size(), 3u);
    EXPECT_NE(a, c);
    EXPECT_LT(a, c);
    EXPECT_NE(a, Zim::String8("a"));
    EXPECT_EQ(a.view(), std::string_view("a\0b", 3));
}

TEST(ZimString8, HighBytesOrderAfterLowOnes) {
    const Zim::String8 high("\x80");
    const Zim::String8 low("\x7f");
    EXPECT_LT(low, high);
    EXPECT_LT(Zim::String8("a"), Zim::String8("\xff"));
    EXPECT_LT(Zim::String8(std::string_view("\0", 1)), Zim::String8("\x01"));
}

TEST(ZimString8, EqualBytesAreEqualWhateverTheirStorage) {
    const Zim::String8 a("chassis");
    const Zim::String8 b(std::string("chassis"));
    EXPECT_EQ(a, b);
    EXPECT_EQ(std::hash<Zim::String8>()(a), std::hash<Zim::String8>()(b));
    EXPECT_EQ(Zim::String8(), Zim::String8(""));
}

TEST(ZimString8, PrintableFormEscapesEverythingButPlainText) {
    EXPECT_EQ(Zim::printable(Zim::String8(std::string_view("a\0\xff\\ z", 6))),
              "a\\x00\\xff\\x5c z");
}

// --- traces ---------------------------------------------------------------------------------

class ZimTrace : public ::testing::Test {
protected:
    void SetUp() override {
        Zim::traceSinkIs([this](const Zim::TraceRecord& r) { records_.push_back(r); });
    }
    void TearDown() override {
        Zim::traceSinkIs({});
        Zim::traceSpecIs("");
    }
    std::vector<Zim::TraceRecord> records_;
};

TEST_F(ZimTrace, SpecTurnsOnLevelsUpToTheGivenOnePerHandle) {
    ASSERT_EQ(Zim::traceSpecIs("LldpSnmp=8,Snmp=2"), "");
    const Zim::TraceHandle model("LldpSnmp");
    const Zim::TraceHandle mib("Snmp");
    const Zim::TraceHandle other("Other");
    EXPECT_TRUE(model.enabled(8));
    EXPECT_FALSE(model.enabled(9));
    EXPECT_TRUE(mib.enabled(0));
    EXPECT_TRUE(mib.enabled(2));
    EXPECT_FALSE(mib.enabled(3));
    EXPECT_FALSE(other.enabled(0));
}

TEST_F(ZimTrace, WildcardCoversEveryHandleThatIsNotNamed) {
    ASSERT_EQ(Zim::traceSpecIs("*=3, Snmp=1"), "");
    EXPECT_TRUE(Zim::TraceHandle("Anything").enabled(3));
    EXPECT_FALSE(Zim::TraceHandle("Anything").enabled(4));
    EXPECT_FALSE(Zim::TraceHandle("Snmp").enabled(2));
}

TEST_F(ZimTrace, BareNameTurnsOnEveryLevel) {
    ASSERT_EQ(Zim::traceSpecIs("Snmp"), "");
    EXPECT_TRUE(Zim::TraceHandle("Snmp").enabled(9));
}

TEST_F(ZimTrace, ExistingHandleFollowsANewSpec) {
    const Zim::TraceHandle mib("Snmp");
    ASSERT_EQ(Zim::traceSpecIs("Snmp=1"), "");
    EXPECT_FALSE(mib.enabled(2));
    ASSERT_EQ(Zim::traceSpecIs("Snmp=2"), "");
    EXPECT_TRUE(mib.enabled(2));
    ASSERT_EQ(Zim::traceSpecIs(""), "");
    EXPECT_FALSE(mib.enabled(0));
}

TEST_F(ZimTrace, BadLevelIsRefusedNamingItAndTheOldSpecStays) {
    ASSERT_EQ(Zim::traceSpecIs("Snmp=2"), "");
    for (const char* bad : {"Snmp=x", "Snmp=10", "Snmp=-1", "Snmp=2x"}) {
        const std::string error = Zim::traceSpecIs(bad);
        const std::string level = std::string(bad).substr(5);
        EXPECT_THAT(error, HasSubstr("'" + level + "'")) << bad;
        EXPECT_THAT(error, HasSubstr("Snmp")) << bad;
    }
    EXPECT_EQ(Zim::traceSpec(), "Snmp=2");
    EXPECT_TRUE(Zim::TraceHandle("Snmp").enabled(2));
}

TEST_F(ZimTrace, HandleOnByDefaultTracesFailuresOnly) {
    const Zim::TraceHandle handle("Quiet", true);
    EXPECT_TRUE(handle.enabled(0));
    EXPECT_FALSE(handle.enabled(1));
}

TEST_F(ZimTrace, DisabledLevelDoesNotBuildTheText) {
    ASSERT_EQ(Zim::traceSpecIs("Snmp=2"), "");
    const Zim::TraceHandle mib("Snmp");
    int evaluated = 0;
    auto text = [&] {
        ++evaluated;
        return "built";
    };
    ZTRACE(mib, 3, text());
    EXPECT_EQ(evaluated, 0);
    EXPECT_TRUE(records_.empty());
    ZTRACE(mib, 2, text() << ' ' << 42);
    EXPECT_EQ(evaluated, 1);
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(records_[0].text, "built 42");
    EXPECT_EQ(records_[0].handle, "Snmp");
    EXPECT_EQ(records_[0].level, 2);
    EXPECT_EQ(records_[0].source, "test_zim_framework");
}

// --- jot log --------------------------------------------------------------------------------

class ZimJotlog : public ::testing::Test {
protected:
    void SetUp() override {
        saved_ = Jotlog::capacity();
        Jotlog::clear();
    }
    void TearDown() override {
        Jotlog::capacityIs(saved_);
        Jotlog::clear();
        Zim::nowIs(std::nullopt);
    }
    static std::vector<std::string> texts() {
        std::vector<std::string> out;
        for (const auto& r : Jotlog::records())
            out.push_back(r.text);
        return out;
    }
    size_t saved_ = 0;
};

TEST_F(ZimJotlog, KeepsTheNewestRecordsOldestFirst) {
    Jotlog::capacityIs(3);
    for (const char* t : {"a", "b", "c", "d", "e"})
        Jotlog::record(t);
    EXPECT_THAT(texts(), ElementsAre("c", "d", "e"));
    Jotlog::record("f");
    EXPECT_THAT(texts(), ElementsAre("d", "e", "f"));
}

TEST_F(ZimJotlog, ShrinkingKeepsTheNewestAndGrowingKeepsOrder) {
    Jotlog::capacityIs(4);
    for (const char* t : {"a", "b", "c", "d", "e"})
        Jotlog::record(t);
    Jotlog::capacityIs(2);
    EXPECT_THAT(texts(), ElementsAre("d", "e"));
    Jotlog::capacityIs(3);
    Jotlog::record("f");
    Jotlog::record("g");
    EXPECT_THAT(texts(), ElementsAre("e", "f", "g"));
}

TEST_F(ZimJotlog, ZeroCapacityRecordsNothing) {
    Jotlog::capacityIs(0);
    JOTLOG("dropped " << 1);
    EXPECT_TRUE(Jotlog::records().empty());
}

TEST_F(ZimJotlog, RecordsCarryTheClockAndDumpOneLineEach) {
    Zim::nowIs(1234.5);
    JOTLOG("port " << 7 << " up");
    ASSERT_EQ(Jotlog::records().size(), 1u);
    EXPECT_EQ(Jotlog::records()[0].time, 1234.5);
    std::ostringstream os;
    Jotlog::dump(os);
    EXPECT_EQ(os.str(), "1234.500000 port 7 up\n");
}

TEST_F(ZimJotlog, BlockTimerRecordsItsNameWhenTheBlockEnds) {
    { Jotlog::BlockTimer timer("walk"); }
    ASSERT_EQ(texts().size(), 1u);
    EXPECT_THAT(texts()[0], ::testing::MatchesRegex("walk took [0-9]+us"));
}

// --- assertions -----------------------------------------------------------------------------

using ZimAssertDeathTest = ::testing::Test;

TEST_F(ZimAssertDeathTest, FailedAssertionPrintsItsConditionAndStops) {
    const int value = 2;
    EXPECT_DEATH(ZIM_ASSERT(value == 3), "assertion \"value == 3\" failed: .*FailedAssertion");
}

TEST_F(ZimAssertDeathTest, NamedAssertionPrintsItsName) {
    const void* registration = nullptr;
    EXPECT_DEATH(ZIM_ASSERT_NAMED(registration, "reg_lldpMessageTxInterval"),
                 "assertion \"reg_lldpMessageTxInterval\" failed");
}

TEST(ZimAssert, PassingAssertionDoesNothing) {
    int evaluated = 0;
    ZIM_ASSERT(++evaluated == 1);
    EXPECT_EQ(evaluated, 1);
}

// --- range checks of the value types --------------------------------------------------------

template <class F> std::string rangeError(F f) {
    try {
        f();
    } catch (const Zim::RangeException& e) {
        return e.what();
    }
    return "accepted";
}

TEST(PlatformValueRanges, EthPortIdAcceptsZeroTo4094) {
    EXPECT_EQ(rangeError([] { (void)Interface::EthPortId(0); }), "accepted");
    EXPECT_EQ(rangeError([] { (void)Interface::EthPortId(4094); }), "accepted");
    EXPECT_EQ(rangeError([] { (void)Interface::EthPortId(4095); }),
              "EthPortId::value < EthPortId::min or > EthPortId::max not allowed");
    EXPECT_EQ(rangeError([] { (void)Interface::EthPortId(0xffff); }),
              "EthPortId::value < EthPortId::min or > EthPortId::max not allowed");
}

TEST(PlatformValueRanges, VlanIdAccepts1To4094) {
    const char* text = "VlanId::value < 1 or > 4094 not allowed";
    EXPECT_EQ(rangeError([] { (void)Bridging::VlanId(0); }), text);
    EXPECT_EQ(rangeError([] { (void)Bridging::VlanId(4095); }), text);
    EXPECT_EQ(rangeError([] { (void)Bridging::VlanId(1); }), "accepted");
    EXPECT_EQ(rangeError([] { (void)Bridging::VlanId(4094); }), "accepted");
}

TEST(PlatformValueRanges, VlanIdOrNoneAcceptsZeroTo4094) {
    EXPECT_EQ(rangeError([] { (void)Bridging::VlanIdOrNone(0); }), "accepted");
    EXPECT_EQ(rangeError([] { (void)Bridging::VlanIdOrNone(4094); }), "accepted");
    EXPECT_EQ(rangeError([] { (void)Bridging::VlanIdOrNone(4095); }),
              "VlanIdOrNone::value > 4094 not allowed");
}

TEST(PlatformValueRanges, UnknownTlvTypeIs9To126) {
    const char* text = "UnknownTlv::type < 9 or > 126 not allowed";
    EXPECT_EQ(rangeError([] { (void)Lldp::UnknownTlv(8, ""); }), text);
    EXPECT_EQ(rangeError([] { (void)Lldp::UnknownTlv(127, ""); }), text);
    EXPECT_EQ(rangeError([] { (void)Lldp::UnknownTlv(0, ""); }), text);
    EXPECT_EQ(rangeError([] { (void)Lldp::UnknownTlv(0xffffffffu, ""); }), text);
    EXPECT_EQ(rangeError([] { (void)Lldp::UnknownTlv(9, ""); }), "accepted");
    EXPECT_EQ(rangeError([] { (void)Lldp::UnknownTlv(126, ""); }), "accepted");
}

TEST(PlatformValueRanges, UnknownTlvInfoIsAtMost511BytesAndCheckedBeforeTheType) {
    const std::string longest(511, 'x');
    const std::string tooLong(512, 'x');
    EXPECT_EQ(rangeError([&] { (void)Lldp::UnknownTlv(9, longest); }), "accepted");
    EXPECT_EQ(rangeError([&] { (void)Lldp::UnknownTlv(9, tooLong); }),
              "BoundedString511::bytes > 511 not allowed");
    EXPECT_EQ(rangeError([&] { (void)Lldp::UnknownTlv(8, tooLong); }),
              "BoundedString511::bytes > 511 not allowed");
}

TEST(PlatformValueRanges, ManagementAddressIsAtMost31Bytes) {
    EXPECT_EQ(rangeError([] { (void)Lldp::ManagementAddress::Key(1, std::string(31, '\0')); }),
              "accepted");
    EXPECT_EQ(rangeError([] { (void)Lldp::ManagementAddress::Key(1, std::string(32, '\0')); }),
              "ManAddress::bytes > 31 not allowed");
}

TEST(PlatformValueRanges, EnabledTlvSetsHoldFourMembers) {
    EXPECT_EQ(rangeError([] { (void)Lldp::PortConfig::EnabledTlvs(0xf); }), "accepted");
    EXPECT_EQ(rangeError([] { (void)Lldp::PortConfig::EnabledTlvs(0x10); }),
              "EnabledTlvs::value > 0xf not allowed");
    EXPECT_EQ(rangeError([] { (void)Lldp::PortConfig::Dot3EnabledTlvs(0x10); }),
              "Dot3EnabledTlvs::value > 0xf not allowed");
    // A value that would fit in the octet after truncation is still refused.
    EXPECT_EQ(rangeError([] { (void)Lldp::PortConfig::EnabledTlvs(0x101); }),
              "EnabledTlvs::value > 0xf not allowed");
}

TEST(PlatformValueRanges, ManagementAddressKeysOrderBySubtypeThenLengthThenBytes) {
    using Key = Lldp::ManagementAddress::Key;
    auto ipv4 = [](unsigned char first) {
        const char bytes[] = {static_cast<char>(first), 0, 0, 1};
        return Zim::String8(bytes, sizeof bytes);
    };
    EXPECT_LT(Key(1, std::string(16, '\0')), Key(2, std::string(4, '\0')));
    EXPECT_LT(Key(1, "\xff\xff\xff\xff"), Key(1, std::string(5, '\0')));
    EXPECT_LT(Key(1, ipv4(0x7f)), Key(1, ipv4(0x80)));
    EXPECT_FALSE(Key(1, ipv4(0x80)) < Key(1, ipv4(0x80)));
}

} // namespace
