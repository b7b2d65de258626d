// CMonitorManager: the list of displays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "Monitor.h"
#include "MonitorManager.h"
#include "bounded_memory_faults.h"
#include "contract_test.h"
#include "journal.h"
#include "lock_recorder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MonitorManager : public ContractTest {
  protected:
    static CMonitorManager& manager() { return *CMonitorManager::GetInstance(); }

    // Monitors and captures made, replaced and left to the manager's end.
    static void liveOnce() {
        trace_recorder::setLevel(-1);
        manager().CreateMonitor(40, 30, 32);
        manager().UpdateMonitor();
        for (int i = 0; i < 2; ++i) {
            const unsigned int index = manager().GenerateCaptureIndex();
            manager().PushPresetExcludeWnd(index, window(3));
            for (const CAP_TYPE type : {CAP_TYPE_DESKTOP, CAP_TYPE_APP_WINDOW}) {
                manager().AddCaptureInstance(index, 0, CAP_METHOD_COREGRAPHICS, type, 0,
                                             PARALLEL_CAPTURE_MODE);
            }
        }
        CMonitorManager::DeleteInstance();
    }
};

TEST_F(MonitorManager, isOneForAll) {
    EXPECT_EQ(CMonitorManager::GetInstance(), CMonitorManager::GetInstance());
    EXPECT_EQ(scripted::countCalls("CGGetActiveDisplayList"), 2U);
}

TEST_F(MonitorManager, enumeratesAgainAfterItWasDeleted) {
    manager();
    CMonitorManager::DeleteInstance();
    plugInSecond();
    EXPECT_EQ(manager().GetCount(), 2U);
}

TEST_F(MonitorManager, mayBeDeletedWithoutExisting) {
    CMonitorManager::DeleteInstance();
    CMonitorManager::DeleteInstance();
    EXPECT_THAT(scripted::calls(), IsEmpty());
}

TEST_F(MonitorManager, initialisesItsLockAndNeverTakesIt) {
    lock_recorder::forget();
    manager().UpdateMonitor();
    CMonitorManager::DeleteInstance();
    const auto uses = lock_recorder::ofThisThread();
    ASSERT_EQ(uses.size(), 2U);
    EXPECT_EQ(uses[0].operation, "init");
    EXPECT_EQ(uses[1], (LockUse{uses[0].section, "cleanup"}));
}

TEST_F(MonitorManager, initialisesItsLockAfterTheFirstEnumeration) {
    const Journal journal;
    manager();
    const std::vector<std::string>& entries = journal.entries();
    ASSERT_GE(entries.size(), 2U);
    EXPECT_EQ(entries[entries.size() - 2], "[KXSC] CMonitorManager::UpdateMonitors... End");
    EXPECT_EQ(entries.back(), "init other lock");
    EXPECT_EQ(std::count(entries.begin(), entries.end(), "init other lock"), 1);
}

// Monitors say nothing when they go; the lock is cleaned up after the captures.
TEST_F(MonitorManager, cleansItsLockUpLast) {
    manager().AddCaptureInstance(manager().GenerateCaptureIndex(), 0, CAP_METHOD_COREGRAPHICS,
                                 CAP_TYPE_DESKTOP, 0, PARALLEL_CAPTURE_MODE);
    const Journal journal;
    CMonitorManager::DeleteInstance();
    ASSERT_FALSE(journal.entries().empty());
    EXPECT_EQ(journal.entries().front(), "[KXSC] CCaptureMac::~CCaptureMac()... Begin");
    EXPECT_EQ(journal.entries().back(), "cleanup other lock");
}

TEST_F(MonitorManager, swallowsWhatACleanupThrows) {
    manager();
    lock_recorder::throwAtNextCleanup();
    EXPECT_NO_THROW(CMonitorManager::DeleteInstance());
    EXPECT_EQ(manager().GetCount(), 1U);
}

// What one life of the manager left behind would add up to more than the bound.
TEST_F(MonitorManager, leavesNoMemoryBehind) {
    const auto lives = [this](int count) {
        for (int life = 0; life < count; ++life) {
            liveOnce();
            renew();
        }
    };
    constexpr int kLives = 60;
    lives(3);  // until the recorders have the memory that they need
    const size_t before = memory_faults::blocksInUse();
    lives(kLives);
    EXPECT_LT(memory_faults::blocksInUse(), before + kLives);
}

TEST_F(MonitorManager, keepsThePlatformsOrder) {
    scripted::plugIn(scripted::makeDisplay(5, 500, 0, 40, 30));
    plugInSecond();
    ASSERT_EQ(manager().GetCount(), 3U);
    EXPECT_EQ(manager().GetMonitor(0)->GetDisplayID(), kMain);
    EXPECT_EQ(manager().GetMonitor(1)->GetDisplayID(), 5U);
    EXPECT_EQ(manager().GetMonitor(2)->GetDisplayID(), kSecond);
    EXPECT_EQ(manager().GetMonitor(2)->GetIndex(), 2U);
}

TEST_F(MonitorManager, tracesAnEnumeration) {
    plugInSecond();
    scripted::change(kSecond, [](scripted::Display& display) { display.names.clear(); });
    CMonitorManager::GetInstance();
    const auto rect = [](const char* values) {
        return information(std::string(" CMonitor::GetMonitorRect rect.left = ") + values);
    };
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(step("CPMO", "begin to update monitor information", "[NULL]"),
                    information("CMonitorManager::UpdateMonitors... Begin"),
                    information("CMonitor::CMonitor()... index=0, displayID=722, "
                                "Monitor=[-161:-45,161,91], Pixel=[161,91]"),
                    information("CMonitorManager::UpdateMonitors DisplayID: 722"),
                    information("CMonitor::CMonitor()... index=1, displayID=69, "
                                "Monitor=[7:3,80,60], Pixel=[80,60]"),
                    information("CMonitorManager::UpdateMonitors DisplayID: 69"),
                    rect("-161, rect.top = -45, rect.right = 0, rect.bottom = 46"),
                    step("CPMO", "information of the monitor",
                         "[Index:0, L:-161, R:0, T:-45, B:46, Primary:true, Name:Panel 722]"),
                    rect("7, rect.top = 3, rect.right = 87, rect.bottom = 63"),
                    step("CPMO", "information of the monitor",
                         "[Index:1, L:7, R:87, T:3, B:63, Primary:false, Name:]"),
                    step("CPMO", "update monitor information end", "[NULL]"),
                    information("CMonitorManager::UpdateMonitors... End")));
}

TEST_F(MonitorManager, asksForTheCountThenForTheDisplays) {
    plugInSecond();
    manager();
    EXPECT_THAT(
        scripted::callsOf({"CGGetActiveDisplayList"}),
        ElementsAre("CGGetActiveDisplayList(0, null, out)", "CGGetActiveDisplayList(2, out, out)"));
}

TEST_F(MonitorManager, hasOnlyTheDisplaysOfTheSecondCall) {
    plugInSecond();
    scripted::whenCalled(
        "CGGetActiveDisplayList", [] { scripted::unplug(kMain); }, 1);
    ASSERT_EQ(manager().GetCount(), 1U);
    EXPECT_EQ(manager().GetMonitor(0)->GetDisplayID(), kSecond);
    EXPECT_THAT(
        scripted::callsOf({"CGGetActiveDisplayList"}),
        ElementsAre("CGGetActiveDisplayList(0, null, out)", "CGGetActiveDisplayList(2, out, out)"));
}

TEST_F(MonitorManager, hasNoMoreDisplaysThanItAskedFor) {
    scripted::whenCalled("CGGetActiveDisplayList", plugInSecond, 1);
    ASSERT_EQ(manager().GetCount(), 1U);
    EXPECT_EQ(manager().GetMonitor(0)->GetDisplayID(), kMain);
}

TEST_F(MonitorManager, isEmptyWithoutADisplay) {
    scripted::unplug(kMain);
    EXPECT_EQ(manager().GetCount(), 0U);
    EXPECT_EQ(manager().GetPrimaryMonitor(), nullptr);
    EXPECT_EQ(manager().GetSecondaryMonitor(), nullptr);
    EXPECT_EQ(manager().GetMonitor(0), nullptr);
}

TEST_F(MonitorManager, isEmptyWhenTheFirstCallFails) {
    scripted::fail("CGGetActiveDisplayList");
    EXPECT_EQ(manager().GetCount(), 0U);
    EXPECT_EQ(manager().GetPrimaryMonitor(), nullptr);
    EXPECT_EQ(manager().GetSecondaryMonitor(), nullptr);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(step("CPMO", "begin to update monitor information", "[NULL]"),
                    information("CMonitorManager::UpdateMonitors... Begin"),
                    error("CMonitorManager::UpdateMonitors CGGetActiveDisplayList1st Err!")));
    EXPECT_EQ(scripted::countCalls("CGGetActiveDisplayList"), 1U);
}

TEST_F(MonitorManager, isEmptyWhenTheSecondCallFails) {
    scripted::fail("CGGetActiveDisplayList", 1);
    EXPECT_EQ(manager().GetCount(), 0U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(step("CPMO", "begin to update monitor information", "[NULL]"),
                    information("CMonitorManager::UpdateMonitors... Begin"),
                    error("CMonitorManager::UpdateMonitors CGGetActiveDisplayList2nd Err!")));
}

TEST_F(MonitorManager, forgetsTheOldListWhenAnUpdateFails) {
    manager().CreateMonitor(10, 10, 32);
    scripted::fail("CGGetActiveDisplayList");
    manager().UpdateMonitor();
    EXPECT_EQ(manager().GetCount(), 0U);
}

TEST_F(MonitorManager, appendsAVirtualMonitorOfOwnIndexZero) {
    plugInSecond();
    manager().CreateMonitor(1920, 1080, 32);
    ASSERT_EQ(manager().GetCount(), 3U);
    EXPECT_EQ(manager().GetMonitor(2)->GetIndex(), 0U);
}

TEST_F(MonitorManager, tracesTheMakingOfAVirtualMonitor) {
    manager();
    trace_recorder::forget();
    manager().CreateMonitor(1920, -1080, 24);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CMonitorManager::CreateMonitor,nWidth = 1920,nHeight =-1080,"
                                "nBitCount = 24, nIndex = 0"),
                    information("CMonitor::CMonitor m_dwIndex = 0, m_rcMonitor.right = 1920, "
                                "m_rcMonitor.bottom = -1080, m_nBitCount = 24")));
}

TEST_F(MonitorManager, destroysNothing) {
    manager().CreateMonitor(1920, 1080, 32);
    trace_recorder::forget();
    manager().DestroyMonitor();
    EXPECT_EQ(manager().GetCount(), 2U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CMonitorManager::DestroyMonitor")));
}

TEST_F(MonitorManager, losesVirtualMonitorsInAnUpdate) {
    manager().CreateMonitor(1920, 1080, 32);
    manager().UpdateMonitor();
    EXPECT_EQ(manager().GetCount(), 1U);
}

TEST_F(MonitorManager, leavesNoOldMonitorWhenDisplaysGoOneByOne) {
    plugInSecond();
    ASSERT_EQ(manager().GetCount(), 2U);
    scripted::unplug(kMain);
    manager().UpdateMonitor();
    ASSERT_EQ(manager().GetCount(), 1U);
    EXPECT_EQ(manager().GetMonitor(0)->GetIndex(), 0U);
    EXPECT_EQ(manager().GetMonitor(0)->GetDisplayID(), kSecond);
    EXPECT_EQ(manager().GetPrimaryMonitor(), nullptr);
}

TEST_F(MonitorManager, updatesWhenToldOfAChange) {
    manager().CreateMonitor(1920, 1080, 32);
    trace_recorder::forget();
    manager().UpdateMonitor();
    const auto update = trace_recorder::messages();
    manager().CreateMonitor(1920, 1080, 32);
    trace_recorder::forget();
    manager().OnMonitorInfoChange();
    EXPECT_EQ(trace_recorder::messages(), update);
    EXPECT_EQ(manager().GetCount(), 1U);
}

TEST_F(MonitorManager, freesEveryMonitor) {
    manager().CreateMonitor(1920, 1080, 32);
    manager().FreeMonitors();
    EXPECT_EQ(manager().GetCount(), 0U);
    EXPECT_EQ(manager().GetMonitor(0), nullptr);
}

TEST_F(MonitorManager, hasNoMonitorAtTheCount) {
    manager();
    trace_recorder::forget();
    EXPECT_EQ(manager().GetMonitor(1), nullptr);
    EXPECT_EQ(manager().GetMonitor(4294967295U), nullptr);
    const Message count = information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 1");
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(count, count));
}

TEST_F(MonitorManager, findsThePrimaryAndTheFirstOther) {
    scripted::reset();
    scripted::plugIn(scripted::makeDisplay(1, -50, 0, 50, 40));
    scripted::Display main = scripted::makeDisplay(2, 0, 0, 60, 40);
    main.main = true;
    scripted::plugIn(main);
    scripted::plugIn(scripted::makeDisplay(3, 60, 0, 50, 40));
    EXPECT_EQ(manager().GetPrimaryMonitor(), manager().GetMonitor(1));
    EXPECT_EQ(manager().GetSecondaryMonitor(), manager().GetMonitor(0));
}

// Mirrored displays may both be main.
TEST_F(MonitorManager, takesTheFirstOfTwoMainDisplaysForThePrimary) {
    scripted::Display mirror = scripted::makeDisplay(2, 0, 0, 60, 40);
    mirror.main = true;
    scripted::plugIn(mirror);
    EXPECT_EQ(manager().GetPrimaryMonitor(), manager().GetMonitor(0));
    EXPECT_EQ(manager().GetSecondaryMonitor(), nullptr);
}

TEST_F(MonitorManager, hasNoSecondaryWithOneDisplay) {
    EXPECT_EQ(manager().GetPrimaryMonitor(), manager().GetMonitor(0));
    EXPECT_EQ(manager().GetSecondaryMonitor(), nullptr);
}

TEST_F(MonitorManager, takesAVirtualMonitorForTheSecondary) {
    manager().CreateMonitor(1920, 1080, 32);
    EXPECT_EQ(manager().GetSecondaryMonitor(), manager().GetMonitor(1));
}

}  // namespace
