// CMonitorManager: the capture registry.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaptureBase.h"
#include "Monitor.h"
#include "MonitorManager.h"
#include "contract_test.h"
#include "scripted_capture.h"
#include "thread_watch.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Message kUnknownRecord = error("CMonitorManager::GetCaptureMgr... Capture Index Invalid!");
const Message kUnknownInstance =
    error("CMonitorManager::GetCaptureInstance... Capture Index Invalid!");
const Message kExisting =
    error("CMonitorManager::AddCaptureInstance()... Capture is already existed!");

class Registry : public ContractTest {
  protected:
    void SetUp() override {
        ContractTest::SetUp();
        index_ = manager().GenerateCaptureIndex();
        forgetEverything();
    }

    static CMonitorManager& manager() { return *CMonitorManager::GetInstance(); }

    bool add(int method = 4, int type = 0, unsigned int version = 0, unsigned int monitor = 0,
             CAP_MODE mode = PARALLEL_CAPTURE_MODE) const {
        return manager().AddCaptureInstance(index_, monitor, static_cast<CAP_METHOD>(method),
                                            static_cast<CAP_TYPE>(type), version, mode);
    }

    CCaptureBase* capture() const { return manager().GetCaptureInstance(index_); }

    static size_t objectsDeleted() {
        return trace_recorder::count("[KXSC] CCaptureMac::~CCaptureMac()... End");
    }

    unsigned int index_ = 0;
};

TEST_F(Registry, countsIndexesUp) {
    EXPECT_EQ(index_, 0U);
    EXPECT_EQ(manager().GenerateCaptureIndex(), 1U);
}

TEST_F(Registry, startsARecordEmpty) {
    const StructCaptureMgr* const record = manager().GetCaptureMgr(index_);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->pCapture, nullptr);
    EXPECT_EQ(record->dwMaxFrameRate, 0U);
    EXPECT_THAT(record->vecPresetExcludeWnd, IsEmpty());
    EXPECT_EQ(record->stFrameSize.dwWidth, 0U);
    EXPECT_EQ(record->stFrameSize.dwHeight, 0U);
}

TEST_F(Registry, hasNoObjectOfAFreshIndexAndSaysNothing) {
    EXPECT_EQ(capture(), nullptr);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(Registry, tracesAnUnknownIndex) {
    EXPECT_EQ(manager().GetCaptureInstance(5), nullptr);
    EXPECT_EQ(manager().GetCaptureMgr(5), nullptr);
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(kUnknownInstance, kUnknownRecord));
}

TEST_F(Registry, keepsAnObjectOfTheSameKind) {
    ASSERT_TRUE(add(4, 1, 9));
    const CCaptureBase* const first = capture();
    trace_recorder::forget();
    EXPECT_TRUE(add(4, 1, 9, 0, SERIAL_CAPTURE_MODE));
    EXPECT_EQ(capture(), first);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), ElementsAre(kExisting));
    EXPECT_EQ(trace_recorder::count("[KXSC] CCaptureBase::SetCaptureMode end."), 0U);
}

// Neither starts the object nor hands it what is stored; the start does both.
TEST_F(Registry, makesAnObjectAndLeavesItAlone) {
    CapMgr_SetMaxFrameRate(index_, 7);
    CapMgr_SetCaptureFrameSize(index_, {4, 3});
    ASSERT_TRUE(add(4, 1, 4294967295U));
    EXPECT_EQ(thread_watch::created(), 0U);
    EXPECT_EQ(capture()->GetMaxFrameRate(), 3);
    EXPECT_EQ(capture()->GetCustomVersion(), 4294967295U);
    EXPECT_EQ(capture()->GetCapType(), CAP_TYPE_APP_WINDOW);
    EXPECT_EQ(capture()->GetCaptureMode(), PARALLEL_CAPTURE_MODE);
    EXPECT_EQ(manager().GetCaptureMgr(index_)->dwMaxFrameRate, 7U);
}

TEST_F(Registry, makesTheObjectOfTheMonitorAsked) {
    plugInSecond();
    manager().UpdateMonitor();
    ASSERT_TRUE(add(4, 0, 0, 1));
    EXPECT_EQ(capture()->GetMonitorIndex(), 1U);
}

TEST_F(Registry, tracesAnAddition) {
    add(0, 1, 9, 0, SERIAL_CAPTURE_MODE);
    const Message rect = information(
        " CMonitor::GetMonitorRect rect.left = -161, rect.top = -45, rect.right = 0, "
        "rect.bottom = 46");
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CMonitorManager::AddCaptureInstance dwCaptureIndex:0, "
                                "dwMonitorIndex:0, nCaptureType:0, nShareType:1dwCustomVersion:9, "
                                "eCapMode:0"),
                    information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 1"), rect,
                    rect, information("CCaptureBase::SetCaptureMode begin. cap mode:0"),
                    information("CCaptureBase::SetCaptureMode, not support serial, change to "
                                "parallel."),
                    information("CCaptureBase::SetCaptureMode end.")));
}

struct OtherKind {
    const char* name;
    int method;
    int type;
    unsigned int version;
    unsigned int monitor;
};

class AnotherAddition : public Registry, public testing::WithParamInterface<OtherKind> {};

TEST_P(AnotherAddition, replacesTheObject) {
    plugInSecond();
    manager().UpdateMonitor();
    ASSERT_TRUE(add(4, 0, 1, 0));
    forgetEverything();
    const OtherKind& other = GetParam();
    EXPECT_TRUE(add(other.method, other.type, other.version, other.monitor));
    EXPECT_EQ(objectsDeleted(), 1U);
    EXPECT_EQ(trace_recorder::count("[KXSC] CCaptureBase::StopCapture... End!!"), 1U);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), IsEmpty());
    EXPECT_EQ(static_cast<int>(capture()->GetCapType()), other.type);
}

INSTANTIATE_TEST_SUITE_P(Kinds, AnotherAddition,
                         testing::Values(OtherKind{"shareType", 4, 1, 1, 0},
                                         OtherKind{"version", 4, 0, 2, 0},
                                         OtherKind{"monitor", 4, 0, 1, 1},
                                         // The object holds 4, so that 0 never equals it.
                                         OtherKind{"method0", 0, 0, 1, 0}),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(Registry, replacesTheObjectOnEveryAdditionWithMethodZero) {
    ASSERT_TRUE(add(0));
    ASSERT_TRUE(add(0));
    ASSERT_TRUE(add(0));
    EXPECT_EQ(objectsDeleted(), 2U);
}

// A virtual monitor's own index is 0, wherever it is. Its mode has no size, so that the addition
// enumerates anew and loses it.
TEST_F(Registry, losesAVirtualMonitorWhenItIsAdded) {
    manager().CreateMonitor(100, 80, 32);
    trace_recorder::forget();
    EXPECT_FALSE(add(4, 0, 0, 1));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CMonitorManager::AddCaptureInstance()... UpdateMonitors... "
                                  "Invalid monitor index!")));
    EXPECT_EQ(capture(), nullptr);
}

TEST_F(Registry, neverKeepsTheObjectOfAVirtualMonitorOfNoSize) {
    manager().CreateMonitor(0, 0, 32);
    ASSERT_TRUE(add(4, 0, 0, 1));
    ASSERT_TRUE(add(4, 0, 0, 1));
    EXPECT_EQ(objectsDeleted(), 1U);
}

class AcceptedMethod : public Registry, public testing::WithParamInterface<int> {};

TEST_P(AcceptedMethod, alwaysMakesMethodFour) {
    ASSERT_TRUE(add(GetParam()));
    EXPECT_EQ(static_cast<int>(capture()->GetCapMethod()), 4);
}

INSTANTIATE_TEST_SUITE_P(Values, AcceptedMethod, testing::Values(0, 4));

class RefusedMethod : public Registry, public testing::WithParamInterface<int> {};

TEST_P(RefusedMethod, makesNoObject) {
    EXPECT_FALSE(add(GetParam()));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CMonitorManager::AddCaptureInstance()... Capture Type Error!")));
    EXPECT_EQ(capture(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Values, RefusedMethod, testing::Values(1, 2, 3, 5, 8, 12, -1));

TEST_F(Registry, hasNoObjectAfterARefusedReplacement) {
    ASSERT_TRUE(add(4));
    EXPECT_FALSE(add(5));
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(objectsDeleted(), 1U);
}

TEST_F(Registry, refusesAnUnknownMonitor) {
    EXPECT_FALSE(add(4, 0, 0, 1));
    EXPECT_THAT(
        trace_recorder::messagesOfLevel(0),
        ElementsAre(error("CMonitorManager::AddCaptureInstance()... Invalid monitor index!")));
}

TEST_F(Registry, refusesAnUnknownMonitorBeforeItLooksForTheIndex) {
    EXPECT_FALSE(manager().AddCaptureInstance(5, 1, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                              PARALLEL_CAPTURE_MODE));
    EXPECT_THAT(
        trace_recorder::messagesOfLevel(0),
        ElementsAre(error("CMonitorManager::AddCaptureInstance()... Invalid monitor index!")));
}

TEST_F(Registry, refusesAnUnknownIndexAfterTheMonitorWasFound) {
    EXPECT_FALSE(manager().AddCaptureInstance(5, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                              PARALLEL_CAPTURE_MODE));
    EXPECT_THAT(
        trace_recorder::messagesOfLevel(0),
        ElementsAre(kUnknownRecord,
                    error("CMonitorManager::AddCaptureInstance()... GetCaptureMgr failed!")));
}

class ChangedSize : public Registry, public testing::WithParamInterface<CAP_SIZE> {};

TEST_P(ChangedSize, isFoundByAFreshEnumeration) {
    scripted::resize(kMain, GetParam().dwWidth, GetParam().dwHeight);
    ASSERT_TRUE(add());
    EXPECT_EQ(scripted::countCalls("CGGetActiveDisplayList"), 2U);
    tagCaptureRect rect{};
    manager().GetMonitor(0)->GetMonitorRect(rect);
    EXPECT_EQ(rect.right - rect.left, static_cast<int>(GetParam().dwWidth));
    EXPECT_EQ(rect.bottom - rect.top, static_cast<int>(GetParam().dwHeight));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Sizes, ChangedSize,
                         testing::Values(CAP_SIZE{100, 50}, CAP_SIZE{162, 91}, CAP_SIZE{160, 91},
                                         CAP_SIZE{161, 92}, CAP_SIZE{161, 90}));

// The rectangle taken anew is not compared again: one enumeration, whatever changes in it.
TEST_F(Registry, enumeratesOnceWhenTheSizeGoesOnChanging) {
    scripted::resize(kMain, 100, 50);
    scripted::whenCalled("CGDisplayIsMain", [] { scripted::resize(kMain, 90, 40); });
    ASSERT_TRUE(add());
    EXPECT_EQ(scripted::countCalls("CGGetActiveDisplayList"), 2U);
}

TEST_F(Registry, doesNotEnumerateWhenNothingChanged) {
    ASSERT_TRUE(add());
    EXPECT_EQ(scripted::countCalls("CGGetActiveDisplayList"), 0U);
}

// A scaled display's rectangle is in pixels and its mode's size in points: they always differ.
TEST_F(Registry, enumeratesOnceForAScaledDisplay) {
    scripted::setScale(kMain, 2);
    manager().UpdateMonitor();
    forgetEverything();
    ASSERT_TRUE(add());
    EXPECT_EQ(scripted::countCalls("CGGetActiveDisplayList"), 2U);
}

TEST_F(Registry, findsTheIndexOfAnObject) {
    const unsigned int other = manager().GenerateCaptureIndex();
    ASSERT_TRUE(manager().AddCaptureInstance(other, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                             PARALLEL_CAPTURE_MODE));
    EXPECT_EQ(manager().GetCaptureIndexFromInstance(manager().GetCaptureInstance(other)), other);
}

// Records without objects hold null, and are asked for in ascending order; null is not found there.
TEST_F(Registry, findsNoIndexOfANullObject) {
    EXPECT_EQ(manager().GetCaptureIndexFromInstance(nullptr), 0xFFFFFFFFU);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(error("CMonitorManager::GetCaptureIndexFromInstance... Get capture "
                                  "index failed!")));
}

TEST_F(Registry, findsNoIndexOfAnObjectThatItDoesNotHold) {
    const ScriptedCapture stranger;
    ASSERT_TRUE(add());
    trace_recorder::forget();
    EXPECT_EQ(manager().GetCaptureIndexFromInstance(&stranger), 0xFFFFFFFFU);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(error("CMonitorManager::GetCaptureIndexFromInstance... Get capture "
                                  "index failed!")));
}

TEST_F(Registry, findsTheLowestIndexOfAnObjectAndSaysNothing) {
    manager().GenerateCaptureIndex();
    manager().GenerateCaptureIndex();
    ScriptedCapture shared;
    manager().GetCaptureMgr(1)->pCapture = &shared;
    manager().GetCaptureMgr(2)->pCapture = &shared;
    trace_recorder::forget();
    EXPECT_EQ(manager().GetCaptureIndexFromInstance(&shared), 1U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    manager().GetCaptureMgr(1)->pCapture = nullptr;
    manager().GetCaptureMgr(2)->pCapture = nullptr;
}

TEST_F(Registry, deletesNothingOfARecordWithoutAnObject) {
    manager().DeleteCaptureInstance(index_);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(Registry, keepsTheRecordOfADeletedObject) {
    manager().PushPresetExcludeWnd(index_, window(3));
    ASSERT_TRUE(add());
    manager().DeleteCaptureInstance(index_);
    EXPECT_EQ(capture(), nullptr);
    EXPECT_TRUE(manager().IsPresetExcludeWnd(index_, window(3)));
}

TEST_F(Registry, deletesNothingOfAnUnknownIndex) {
    manager().DeleteCaptureInstance(5);
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(kUnknownRecord));
}

TEST_F(Registry, goesOnCountingWhenCleared) {
    ASSERT_TRUE(add());
    manager().ClearAllCaptureMgr();
    EXPECT_EQ(objectsDeleted(), 1U);
    trace_recorder::setLevel(-1);
    EXPECT_EQ(manager().GetCaptureMgr(index_), nullptr);
    EXPECT_EQ(manager().GenerateCaptureIndex(), 1U);
}

}  // namespace
