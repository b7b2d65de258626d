// CMonitorManager: the windows to leave out that are stored before a start.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MonitorManager.h"
#include "contract_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Message kUnknownRecord = error("CMonitorManager::GetCaptureMgr... Capture Index Invalid!");

class PresetWindows : public ContractTest {
  protected:
    void SetUp() override {
        ContractTest::SetUp();
        index_ = manager().GenerateCaptureIndex();
        forgetEverything();
    }

    static CMonitorManager& manager() { return *CMonitorManager::GetInstance(); }

    unsigned int index_ = 0;
};

TEST_F(PresetWindows, keepsAPresetWindowOnce) {
    manager().PushPresetExcludeWnd(index_, window(3));
    manager().PushPresetExcludeWnd(index_, window(8));
    manager().PushPresetExcludeWnd(index_, window(3));
    EXPECT_THAT(manager().GetCaptureMgr(index_)->vecPresetExcludeWnd,
                ElementsAre(window(3), window(8)));
    EXPECT_TRUE(manager().IsPresetExcludeWnd(index_, window(8)));
}

TEST_F(PresetWindows, erasesAPresetWindowAndKeepsTheOrderOfTheRest) {
    for (const uintptr_t number : {3U, 8U, 5U}) {
        manager().PushPresetExcludeWnd(index_, window(number));
    }
    manager().ErasePresetExcludeWnd(index_, window(8));
    manager().ErasePresetExcludeWnd(index_, window(99));
    EXPECT_THAT(manager().GetCaptureMgr(index_)->vecPresetExcludeWnd,
                ElementsAre(window(3), window(5)));
    EXPECT_FALSE(manager().IsPresetExcludeWnd(index_, window(8)));
}

TEST_F(PresetWindows, isEmptyAfterAPresetWindowWasPushedTwiceAndErasedOnce) {
    manager().PushPresetExcludeWnd(index_, window(3));
    manager().PushPresetExcludeWnd(index_, window(3));
    manager().ErasePresetExcludeWnd(index_, window(3));
    EXPECT_THAT(manager().GetCaptureMgr(index_)->vecPresetExcludeWnd, IsEmpty());
}

TEST_F(PresetWindows, keepsThePresetWindowsOfEachIndexApart) {
    const unsigned int other = manager().GenerateCaptureIndex();
    manager().PushPresetExcludeWnd(index_, window(3));
    manager().PushPresetExcludeWnd(other, nullptr);
    EXPECT_FALSE(manager().IsPresetExcludeWnd(other, window(3)));
    EXPECT_TRUE(manager().IsPresetExcludeWnd(other, nullptr));
    manager().ClearPresetExcludeWnds(other);
    EXPECT_TRUE(manager().IsPresetExcludeWnd(index_, window(3)));
}

TEST_F(PresetWindows, clearsPresetWindows) {
    manager().PushPresetExcludeWnd(index_, window(3));
    manager().ClearPresetExcludeWnds(index_);
    EXPECT_THAT(manager().GetCaptureMgr(index_)->vecPresetExcludeWnd, IsEmpty());
}

TEST_F(PresetWindows, tracesPresetOperationsOnAnUnknownIndexTwice) {
    EXPECT_FALSE(manager().IsPresetExcludeWnd(5, window(1)));
    manager().PushPresetExcludeWnd(5, window(1));
    manager().ErasePresetExcludeWnd(5, window(1));
    manager().ClearPresetExcludeWnds(5);
    const auto second = [](const std::string& operation) {
        return error("CMonitorManager::" + operation + "... param dwCaptureIndex invalid");
    };
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(kUnknownRecord, second("IsPresetExcludeWnd"), kUnknownRecord,
                    second("PushPresetExcludeWnd"), kUnknownRecord, second("ErasePresetExcludeWnd"),
                    kUnknownRecord, second("ClearPresetExcludeWnds")));
}

}  // namespace
