// CCaptureBase: excluded windows, the shared window, the background colours.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "bounded_memory_faults.h"
#include "contract_test.h"
#include "journal.h"
#include "lock_recorder.h"
#include "scripted_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Message kBegin = information("CCaptureBase::SetExcludeWnd... Begin!");
const Message kEnd = information("CCaptureBase::SetExcludeWnd... End!");
const Message kSharedBegin = information("CCaptureBase::SetSharedAppWnd... Begin!");
const Message kSharedEnd = information("CCaptureBase::SetSharedAppWnd... End!");

class Windows : public ContractTest {
  protected:
    // With windows 4, 9 and 5 excluded.
    void exclude() {
        for (const uintptr_t number : {4U, 9U, 5U}) {
            capture_.SetExcludeWnd(window(number), CAP_EXC_WND_ADD);
        }
        forgetEverything();
    }

    ScriptedCapture capture_;
};

TEST_F(Windows, areExcludedInTheOrderOfAdding) {
    exclude();
    EXPECT_THAT(capture_.m_vecExcludeWnd, ElementsAre(window(4), window(9), window(5)));
}

class WindowAction : public Windows,
                     public testing::WithParamInterface<std::pair<int, uintptr_t>> {};

TEST_P(WindowAction, isTakenUnderALock) {
    exclude();
    const auto [action, number] = GetParam();
    const Journal journal({{&capture_.m_csExcludeWnd, "windows"}});
    capture_.SetExcludeWnd(window(number), static_cast<tagCapExcWndActType>(action));
    EXPECT_THAT(journal.entries(),
                ElementsAre("[KXSC] CCaptureBase::SetExcludeWnd... Begin!", "lock windows",
                            "[KXSC] CCaptureBase::SetExcludeWnd... End!", "unlock windows"));
}

INSTANTIATE_TEST_SUITE_P(Actions, WindowAction,
                         testing::Values(std::pair(0, 0), std::pair(0, 9), std::pair(1, 8),
                                         std::pair(2, 9), std::pair(3, 9), std::pair(-1, 9)));

// Room for the 33rd window is 64 pointers.
TEST_F(Windows, areLeftAloneAndUnlockedWhenMemoryIsShort) {
    for (uintptr_t number = 1; number <= 32; ++number) {
        capture_.SetExcludeWnd(window(number), CAP_EXC_WND_ADD);
    }
    forgetEverything();
    memory_faults::failSingleAllocation(64 * sizeof(void*));
    EXPECT_THROW(capture_.SetExcludeWnd(window(33), CAP_EXC_WND_ADD), std::bad_alloc);
    EXPECT_EQ(capture_.m_vecExcludeWnd.size(), 32U);
    EXPECT_THAT(lock_recorder::ofThisThread(),
                ElementsAre(LockUse{&capture_.m_csExcludeWnd, "lock"},
                            LockUse{&capture_.m_csExcludeWnd, "unlock"}));
}

TEST_F(Windows, areExcludedAtTheEndWhenAddedAgain) {
    exclude();
    capture_.SetExcludeWnd(window(4), CAP_EXC_WND_DELETE);
    capture_.SetExcludeWnd(window(4), CAP_EXC_WND_ADD);
    EXPECT_THAT(capture_.m_vecExcludeWnd, ElementsAre(window(9), window(5), window(4)));
}

TEST_F(Windows, areDeletedFromBothEnds) {
    exclude();
    capture_.SetExcludeWnd(window(4), CAP_EXC_WND_DELETE);
    capture_.SetExcludeWnd(window(5), CAP_EXC_WND_DELETE);
    EXPECT_THAT(capture_.m_vecExcludeWnd, ElementsAre(window(9)));
}

TEST_F(Windows, areNotAddedAfterAClearWithAWindow) {
    exclude();
    capture_.SetExcludeWnd(window(77), CAP_EXC_WND_CLEAR);
    EXPECT_THAT(capture_.m_vecExcludeWnd, IsEmpty());
}

TEST_F(Windows, areExcludedOnce) {
    exclude();
    capture_.SetExcludeWnd(window(9), CAP_EXC_WND_ADD);
    EXPECT_THAT(capture_.m_vecExcludeWnd, ElementsAre(window(4), window(9), window(5)));
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(kBegin, warning("CCaptureBase::SetExcludeWnd()... Add an existed wnd!")));
    EXPECT_THAT(lock_recorder::ofThisThread(),
                ElementsAre(LockUse{&capture_.m_csExcludeWnd, "lock"},
                            LockUse{&capture_.m_csExcludeWnd, "unlock"}));
}

TEST_F(Windows, areDeletedAndTheRestMovesUp) {
    exclude();
    capture_.SetExcludeWnd(window(9), CAP_EXC_WND_DELETE);
    EXPECT_THAT(capture_.m_vecExcludeWnd, ElementsAre(window(4), window(5)));
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(kBegin, kEnd));
}

TEST_F(Windows, areNotDeletedWhenAbsent) {
    exclude();
    capture_.SetExcludeWnd(window(77), CAP_EXC_WND_DELETE);
    EXPECT_THAT(capture_.m_vecExcludeWnd, ElementsAre(window(4), window(9), window(5)));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(kBegin, warning("CCaptureBase::SetExcludeWnd()... Delete an not "
                                            "existed wnd!")));
    EXPECT_THAT(lock_recorder::ofThisThread(),
                ElementsAre(LockUse{&capture_.m_csExcludeWnd, "lock"},
                            LockUse{&capture_.m_csExcludeWnd, "unlock"}));
}

TEST_F(Windows, areClearedWithoutAWindow) {
    exclude();
    capture_.SetExcludeWnd(nullptr, CAP_EXC_WND_CLEAR);
    EXPECT_THAT(capture_.m_vecExcludeWnd, IsEmpty());
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(kBegin, kEnd));
}

TEST_F(Windows, areLeftAloneByAnUnknownAction) {
    exclude();
    capture_.SetExcludeWnd(window(9), static_cast<tagCapExcWndActType>(3));
    EXPECT_THAT(capture_.m_vecExcludeWnd, ElementsAre(window(4), window(9), window(5)));
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(kBegin, kEnd));
}

class ActionWithoutAWindow : public Windows, public testing::WithParamInterface<int> {};

TEST_P(ActionWithoutAWindow, isRefused) {
    exclude();
    capture_.SetExcludeWnd(nullptr, static_cast<tagCapExcWndActType>(GetParam()));
    EXPECT_EQ(capture_.m_vecExcludeWnd.size(), 3U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(kBegin, error("CMagCapture::SetExcludeWnd()... Invalid Param!")));
    EXPECT_THAT(lock_recorder::ofThisThread(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Actions, ActionWithoutAWindow, testing::Values(1, 2, 3));

// The shared window.

TEST_F(Windows, areSharedOneAtATime) {
    capture_.SetSharedAppWnd(31, CAP_APP_WND_SET);
    EXPECT_EQ(capture_.m_nWndCaptureID, 31U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(kSharedBegin, error("CCaptureBase::SetSharedAppWnd()... SharedWnd ID changed!"),
                    information("CCaptureBase::SetSharedAppWnd()... m_nWndCaptureID = 31"),
                    kSharedEnd));
}

TEST_F(Windows, areSharedAgainWithoutAWordOfChange) {
    capture_.SetSharedAppWnd(31, CAP_APP_WND_SET);
    trace_recorder::forget();
    capture_.SetSharedAppWnd(31, CAP_APP_WND_SET);
    EXPECT_EQ(capture_.m_nWndCaptureID, 31U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(kSharedBegin,
                            information("CCaptureBase::SetSharedAppWnd()... m_nWndCaptureID = 31"),
                            kSharedEnd));
}

TEST_F(Windows, areSharedInTurnWithAWordOfChange) {
    capture_.SetSharedAppWnd(31, CAP_APP_WND_SET);
    forgetEverything();
    capture_.SetSharedAppWnd(4000000000, CAP_APP_WND_SET);
    EXPECT_EQ(capture_.m_nWndCaptureID, 4000000000U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(kSharedBegin, error("CCaptureBase::SetSharedAppWnd()... SharedWnd ID changed!"),
                    information("CCaptureBase::SetSharedAppWnd()... m_nWndCaptureID = 4000000000"),
                    kSharedEnd));
    EXPECT_THAT(lock_recorder::ofThisThread(), IsEmpty()) << "no lock is taken";
}

class SharedAction : public Windows, public testing::WithParamInterface<int> {};

TEST_P(SharedAction, clearsTheWindowWhateverItsNumber) {
    capture_.SetSharedAppWnd(31, CAP_APP_WND_SET);
    trace_recorder::forget();
    capture_.SetSharedAppWnd(99, static_cast<tagCapAppActType>(GetParam()));
    EXPECT_EQ(capture_.m_nWndCaptureID, 0U);
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(kSharedBegin, kSharedEnd));
}

INSTANTIATE_TEST_SUITE_P(Others, SharedAction, testing::Values(0, 2, -1));

class SharedWindowZero : public Windows, public testing::WithParamInterface<int> {};

TEST_P(SharedWindowZero, changesNothing) {
    capture_.SetSharedAppWnd(31, CAP_APP_WND_SET);
    trace_recorder::forget();
    capture_.SetSharedAppWnd(0, static_cast<tagCapAppActType>(GetParam()));
    EXPECT_EQ(capture_.m_nWndCaptureID, 31U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(kSharedBegin, error("CCaptureBase::SetSharedAppWnd()... Invalid Param!")));
}

INSTANTIATE_TEST_SUITE_P(Actions, SharedWindowZero, testing::Values(0, 1, 2));

// Background colours.

TEST_F(Windows, haveABackgroundColourForEachOfTwoRegions) {
    capture_.SetAppShareBackColor(0, 11, 0xAABBCC);
    capture_.SetAppShareBackColor(1, 12, 0x112233);
    const auto& colours = capture_.m_stBackColor;
    EXPECT_EQ(colours[0].nRgnType, 0U);
    EXPECT_EQ(colours[0].nBrushType, 11U);
    EXPECT_EQ(colours[0].nColor, 0xAABBCCU);
    EXPECT_EQ(colours[1].nRgnType, 1U);
    EXPECT_EQ(colours[1].nBrushType, 12U);
    EXPECT_EQ(colours[1].nColor, 0x112233U);
}

TEST_F(Windows, haveTheNewestBackgroundColour) {
    capture_.SetAppShareBackColor(0, 11, 0xAABBCC);
    capture_.SetAppShareBackColor(0, 0xFFFFFFFF, 0xFFFFFFFE);
    EXPECT_EQ(capture_.m_stBackColor[0].nBrushType, 0xFFFFFFFFU);
    EXPECT_EQ(capture_.m_stBackColor[0].nColor, 0xFFFFFFFEU);
    EXPECT_EQ(capture_.m_stBackColor[1].nColor, 0U);
    EXPECT_THAT(trace_recorder::messages(),
                testing::Contains(information("CCaptureBase::SetAppShareBackColor...nRgnType = 0, "
                                              "nBrushType = 4294967295")));
}

class OtherRegion : public Windows, public testing::WithParamInterface<unsigned int> {};

TEST_P(OtherRegion, hasNoBackgroundColourAndIsTraced) {
    capture_.SetAppShareBackColor(GetParam(), 13, 0x445566);
    for (const auto& colour : capture_.m_stBackColor) {
        EXPECT_EQ(colour.nRgnType, 0U);
        EXPECT_EQ(colour.nBrushType, 0U);
        EXPECT_EQ(colour.nColor, 0U);
    }
    EXPECT_EQ(capture_.GetLastErrorCode(), 0U) << "what comes behind the colours is not touched";
    EXPECT_EQ(capture_.GetErrorCount(), 0U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::SetAppShareBackColor...nRgnType = " +
                                        std::to_string(GetParam()) + ", nBrushType = 13")));
}

INSTANTIATE_TEST_SUITE_P(Regions, OtherRegion, testing::Values(2, 3, 0xFFFFFFFF));

}  // namespace
