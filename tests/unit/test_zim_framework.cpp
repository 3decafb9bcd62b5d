// The platform framework under the ways the plug-in leans on it: attributes that notify only
// for real changes, reactors that come and go while they are being told, the state-store tree,
// traces and the jot log. Walks across changes are tested on the mirror root
// (test_root.cpp), value ranges and byte order with the keys (test_remote_keys.cpp).
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/zim/Entity.h"
#include "platform/zim/Exception.h"
#include "platform/zim/Clock.h"
#include "platform/zim/Jotlog.h"
#include "platform/zim/LogHandle.h"
#include "platform/zim/Trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// --- reactors and attributes ----------------------------------------------------------------

struct SysNameCounter : Lldp::LocalSystem::Notifiee {
    int sysName = 0;
    std::function<void()> whenTold;
    void onSysName() override {
        ++sysName;
        if (whenTold)
            whenTold();
    }
};

Zim::Ptr<Lldp::LocalSystem> newLocalSystem() {
    return Zim::makePtr<Lldp::LocalSystem>("localSystem");
}

TEST(ZimReactor, ReactorsAttachedOrDetachedWhileOthersAreToldAreHandled) {
    // One detaching itself: the others are still told, it is not told again.
    auto a = newLocalSystem();
    SysNameCounter first, second;
    first.notifierIs(a);
    second.notifierIs(a);
    first.whenTold = [&] { first.notifierIs(nullptr); };
    a->sysNameIs("x");
    a->sysNameIs("y");
    EXPECT_EQ(first.sysName, 1);
    EXPECT_EQ(second.sysName, 2);

    // One detached (or destroyed) by another before its turn: it is not told.
    auto b = newLocalSystem();
    SysNameCounter detacher, detached;
    detacher.notifierIs(b);
    detached.notifierIs(b);
    detacher.whenTold = [&] { detached.notifierIs(nullptr); };
    b->sysNameIs("x");
    EXPECT_EQ(detached.sysName, 0);

    // One attached while others are told: it waits for the next change.
    auto c = newLocalSystem();
    SysNameCounter early, late;
    early.notifierIs(c);
    early.whenTold = [&] { late.notifierIs(c); };
    c->sysNameIs("x");
    EXPECT_EQ(late.sysName, 0);
    early.whenTold = nullptr;
    c->sysNameIs("y");
    EXPECT_EQ(late.sysName, 1);
}

TEST(ZimAttribute, AttributesAndMembersNotifyOncePerRealChangeAndNeverForTheSameValue) {
    auto a = newLocalSystem();
    struct : Lldp::LocalSystem::Notifiee {
        int sysName = 0;
        std::vector<Lldp::ManagementAddress::Key> addresses;
        int priorities = 0;
        void onSysName() override { ++sysName; }
        void onManagementAddress(const Lldp::ManagementAddress::Key& k) override {
            addresses.push_back(k);
        }
        void onManagementAddressPrio(const Lldp::ManAddrPriority&) override { ++priorities; }
    } r;
    r.notifierIs(a);
    r.notifierIs(a);  // attaches once
    a->sysNameIs(""); // the default value
    a->sysNameIs("switch");
    a->sysNameIs("switch");
    EXPECT_EQ(r.sysName, 1);

    const Lldp::ManagementAddress::Key key(1, Zim::String8("\x0a\x00\x00\x01", 4));
    const Lldp::ManagementAddress address(key, 2, 7, "1.3.6.1");
    a->managementAddressIs(key, address);
    a->managementAddressIs(key, address);
    a->managementAddressDel(key);
    a->managementAddressDel(key);
    EXPECT_EQ(r.addresses, (std::vector<Lldp::ManagementAddress::Key>{key, key}));

    a->managementAddressPrioIs(Lldp::ManAddrPriority(1), key);
    a->managementAddressPrioIs(Lldp::ManAddrPriority(1), key);
    a->managementAddressPrioDel(Lldp::ManAddrPriority(2));
    a->managementAddressPrioDel(Lldp::ManAddrPriority(1));
    EXPECT_EQ(r.priorities, 2);
}

// --- directories of entities ----------------------------------------------------------------

TEST(ZimDir, MountedEntitiesAreFoundByPathAndTheirNamesCannotBeTakenTwice) {
    auto outliving = Zim::makePtr<Lldp::Config>("config");
    {
        auto store = Zim::makePtr<Zim::Dir>("store");
        store->mount("a/lldp/config", outliving);
        store->mount("a/lldp/config", outliving); // the same entity again is no conflict
        EXPECT_EQ(store->lookup("a/lldp/config"), outliving);
        EXPECT_EQ(outliving->fullName(), "/store/a/lldp/config");
        for (const char* missing : {"a/x/config", "a/lldp/d", "x", "a/lldp/config/d"})
            EXPECT_FALSE(store->lookup(missing)) << missing;

        try {
            store->mount("a/lldp/config", Zim::makePtr<Lldp::Config>("config"));
            FAIL() << "a second entity named config was accepted";
        } catch (const Zim::NameInUseException& e) {
            EXPECT_THAT(e.what(), HasSubstr("Lldp::Config"));
        }
        EXPECT_EQ(store->lookup("a/lldp/config"), outliving);
        EXPECT_THROW(store->mount("a/lldp/config/x", Zim::makePtr<Lldp::Config>("x")),
                     Zim::NameInUseException);
        EXPECT_THROW(store->mount("a/other", Zim::makePtr<Lldp::Config>("config")),
                     Zim::RangeException);
    }
    EXPECT_EQ(outliving->parent(), nullptr);
    EXPECT_EQ(outliving->fullName(), "/config");
}

// --- traces and the jot log -----------------------------------------------------------------

TEST(ZimTrace, SettingsTurnOnLevelsPerHandleAndTextIsBuiltOnlyWhenOn) {
    const Zim::TraceHandle existing("Snmp"); // made before the settings, follows them
    struct Case {
        const char* settings;
        const char* handle;
        int highestOn; // -1: off
    };
    for (const Case& c : {Case{"LldpSnmp=8,Snmp=2", "LldpSnmp", 8}, Case{"*=3, Snmp=1", "Snmp", 1},
                          Case{"LldpSnmp=8", "Other", -1}, Case{"*=3, Snmp=1", "Other", 3},
                          Case{"Snmp", "Snmp", 9}, Case{"", "Snmp", -1}}) {
        ASSERT_EQ(Zim::traceSettingsIs(c.settings), "") << c.settings;
        const Zim::TraceHandle handle(c.handle);
        for (int level = 0; level <= 9; ++level) {
            EXPECT_EQ(handle.enabled(level), level <= c.highestOn) << c.settings << ' ' << c.handle;
            EXPECT_EQ(existing.enabled(level), Zim::TraceHandle("Snmp").enabled(level));
        }
    }
    EXPECT_NE(Zim::traceSettingsIs("Snmp=2x"), "");
    EXPECT_EQ(Zim::traceSettings(), "") << "refused settings leave the old ones";
    EXPECT_TRUE(Zim::TraceHandle("Quiet", true).enabled(0));
    EXPECT_FALSE(Zim::TraceHandle("Quiet", true).enabled(1));

    ASSERT_EQ(Zim::traceSettingsIs("Snmp=2"), "");
    std::vector<std::string> lines;
    Zim::traceSinkIs([&](const Zim::TraceRecord& r) { lines.push_back(r.text); });
    int built = 0;
    ZTRACE(existing, 3, ++built);
    ZTRACE(existing, 2, "built " << ++built);
    Zim::traceSinkIs({});
    Zim::traceSettingsIs("");
    EXPECT_EQ(built, 1);
    EXPECT_THAT(lines, ElementsAre("built 1"));
}

TEST(ZimJotlog, KeepsTheNewestRecordsOldestFirstUpToItsCapacity) {
    const size_t saved = Jotlog::capacity();
    Jotlog::clear();
    Jotlog::capacityIs(3);
    for (const char* t : {"a", "b", "c", "d"})
        Jotlog::record(t);
    JOTLOG("e" << 1);
    Jotlog::capacityIs(2);
    std::vector<std::string> texts;
    for (const auto& r : Jotlog::records())
        texts.push_back(r.text);
    EXPECT_THAT(texts, ElementsAre("d", "e1"));
    Jotlog::capacityIs(saved);
}

TEST(ZimLogHandle, EmitsItsFilledFormatAtItsSeverityThroughTheSinkAndHoldsBackWithinItsInterval) {
    std::vector<std::pair<Zim::LogSeverity, std::string>> lines;
    Zim::logSinkIs([&](const Zim::LogHandle& handle, const std::string& text) {
        lines.emplace_back(handle.severity(), handle.name() + ": " + text);
    });
    const Zim::LogHandle every("TEST_EVERY", Zim::LogSeverity::warning, "%s of %d at %f%%", "",
                               Zim::NoActionRequired, 0.0);
    const Zim::LogHandle limited("TEST_LIMITED", Zim::LogSeverity::notice, "port %s", "",
                                 Zim::NoActionRequired, 60.0);
    const auto catalogue = Zim::logCatalogue();
    EXPECT_EQ(std::count(catalogue.begin(), catalogue.end(), &every), 1);
    every.log("sysDesc", 7, 12.5);
    Zim::nowIs(1000.0);
    limited.log(1);
    Zim::nowIs(1059.0);
    limited.log(2);
    limited.log(3);
    Zim::nowIs(1060.0);
    limited.log(4);
    Zim::nowIs(std::nullopt);
    Zim::logSinkIs({});
    using Line = std::pair<Zim::LogSeverity, std::string>;
    EXPECT_EQ(lines, (std::vector<Line>{
                         {Zim::LogSeverity::warning, "TEST_EVERY: sysDesc of 7 at 12.5%"},
                         {Zim::LogSeverity::notice, "TEST_LIMITED: port 1"},
                         {Zim::LogSeverity::notice, "TEST_LIMITED: port 4 (2 more held back)"}}));
}

} // namespace
