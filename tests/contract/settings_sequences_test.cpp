// The exported functions that change or read settings, from end to end.
#include <gtest/gtest.h>

#include "call_sequence.h"

namespace {

Message frameSizeEntry(const std::string& values) {
    return information("SetCaptureFrameSize... cap index: " + values);
}

std::string sized(uint32_t width, uint32_t height) {
    return text(CapMgr_SetCaptureFrameSize(0, {width, height}));
}

INSTANTIATE_TEST_SUITE_P(
    FrameSize, CallSequences,
    testing::Values(CallSequence{"storedSize",
                                 CallSequences::generateIndex,
                                 [] { return sized(4294967295U, 1); },
                                 "true",
                                 {frameSizeEntry("0, w: 4294967295, h: 1")},
                                 {}},
                    CallSequence{"noWidth",
                                 CallSequences::generateIndex,
                                 [] { return sized(0, 100); },
                                 "false",
                                 {frameSizeEntry("0, w: 0, h: 100"),
                                  error("SetFrameRate... param stSize invalid!")},
                                 {}},
                    CallSequence{"noHeight",
                                 CallSequences::startCapture,
                                 [] { return sized(100, 0); },
                                 "false",
                                 {frameSizeEntry("0, w: 100, h: 0"),
                                  error("SetFrameRate... param stSize invalid!")},
                                 {}},
                    CallSequence{"appliedSize",
                                 CallSequences::startCapture,
                                 [] { return sized(40, 30); },
                                 "true",
                                 {frameSizeEntry("0, w: 40, h: 30"),
                                  information("CCaptureBase::SetFrameSize... Begin!"),
                                  information("CCaptureBase::SetFrameSize...End! w: 40,h:30")},
                                 {}},
                    CallSequence{"refusedSize",
                                 CallSequences::startCapture,
                                 [] { return sized(162, 30); },
                                 "false",
                                 {frameSizeEntry("0, w: 162, h: 30"),
                                  information("CCaptureBase::SetFrameSize... Begin!"),
                                  error("CCaptureBase::SetFrameRate... param nFrameSize error")},
                                 {}}),
    nameOf);

Message rateEntry(const std::string& function, const std::string& rate) {
    return information("CAPTURE_MANAGER_API " + function +
                       "... capture index: 0, framerate: " + rate);
}

Messages readRate(const std::string& function, const std::string& rate) {
    const std::string begin = "CAPTURE_MANAGER_API " + function + "... ";
    return {information(begin + "capture index: 0"), information(begin + "iFrameRate: " + rate)};
}

Messages readFailure(const std::string& value) {
    const std::string begin = "CAPTURE_MANAGER_API CapMgr_GetCapFailResult... ";
    return {information(begin + "capture index: 0"), framePath(2, value),
            information(begin + "iCapFailResult: 0")};
}

void storeUnclampedRate() {
    CallSequences::generateIndex();
    CapMgr_UpdateFrameRate(0, 4294967295U);
}

INSTANTIATE_TEST_SUITE_P(
    Rates, CallSequences,
    testing::Values(CallSequence{"storedMaximum",
                                 CallSequences::generateIndex,
                                 [] { return text(CapMgr_SetMaxFrameRate(0, 4294967295U)); },
                                 "true",
                                 {rateEntry("CapMgr_SetMaxFrameRate", "4294967295")},
                                 {}},
                    CallSequence{
                        "appliedMaximum",
                        CallSequences::startCapture,
                        [] { return text(CapMgr_SetMaxFrameRate(0, 31)); },
                        "true",
                        {rateEntry("CapMgr_SetMaxFrameRate", "31"),
                         information("CCaptureBase::SetMaxFrameRate... Begin!"),
                         information("CCaptureBase::SetMaxFrameRate...End! FrameRate: 30")},
                        {}},
                    CallSequence{"noMaximum",
                                 CallSequences::startCapture,
                                 [] { return text(CapMgr_SetMaxFrameRate(0, 0)); },
                                 "false",
                                 {rateEntry("CapMgr_SetMaxFrameRate", "0"),
                                  error("CapMgr_SetMaxFrameRate... param nFrameRate invalid!")},
                                 {}},
                    CallSequence{"storedRate",
                                 CallSequences::generateIndex,
                                 [] { return text(CapMgr_UpdateFrameRate(0, 4294967295U)); },
                                 "true",
                                 {rateEntry("CapMgr_UpdateFrameRate", "4294967295")},
                                 {}},
                    CallSequence{"appliedRate",
                                 CallSequences::startCapture,
                                 [] { return text(CapMgr_UpdateFrameRate(0, 60)); },
                                 "true",
                                 {rateEntry("CapMgr_UpdateFrameRate", "60"),
                                  information("CCaptureBase::UpdateFrameRate int, framerate: 60"),
                                  information("CCaptureBase::UpdateFrameRate out, framerate: 3")},
                                 {}},
                    CallSequence{"noRate",
                                 CallSequences::startCapture,
                                 [] { return text(CapMgr_UpdateFrameRate(0, 0)); },
                                 "false",
                                 {rateEntry("CapMgr_UpdateFrameRate", "0"),
                                  error("CapMgr_UpdateFrameRate... param nFrameRate invalid!")},
                                 {}},
                    CallSequence{"maximumOfACapture",
                                 CallSequences::startCapture,
                                 [] { return std::to_string(CapMgr_GetMaxFrameRate(0)); },
                                 "3",
                                 readRate("CapMgr_GetMaxFrameRate", "3"),
                                 {}},
                    CallSequence{"maximumStored",
                                 storeUnclampedRate,
                                 [] { return std::to_string(CapMgr_GetMaxFrameRate(0)); },
                                 "-1",
                                 readRate("CapMgr_GetMaxFrameRate", "-1"),
                                 {}},
                    CallSequence{"rateOfACapture",
                                 CallSequences::startCapture,
                                 [] { return std::to_string(CapMgr_GetCurFrameRate(0)); },
                                 "3",
                                 readRate("CapMgr_GetCurFrameRate", "3"),
                                 {}},
                    CallSequence{"rateStored",
                                 storeUnclampedRate,
                                 [] { return std::to_string(CapMgr_GetCurFrameRate(0)); },
                                 "-1",
                                 readRate("CapMgr_GetCurFrameRate", "-1"),
                                 {}},
                    CallSequence{"failureOfACapture",
                                 CallSequences::startCapture,
                                 [] { return std::to_string(CapMgr_GetCapFailResult(0)); },
                                 "0",
                                 readFailure(" iCapFailResult: 0"),
                                 {}},
                    CallSequence{"failureOfNothing",
                                 CallSequences::generateIndex,
                                 [] { return std::to_string(CapMgr_GetCapFailResult(0)); },
                                 "0",
                                 readFailure(" iCapFailResult:0 "),
                                 {}}),
    nameOf);

Message excludeEntry(const std::string& values) {
    return information("CAPTURE_MANAGER_API SetExcludeWnd...capture index: 0, window ID: " +
                       values);
}

std::function<std::string()> exclude(uintptr_t number, int action) {
    return quietly([number, action] {
        CapMgr_SetExcludeWnd(0, window(number), static_cast<tagCapExcWndActType>(action));
    });
}

std::function<std::string()> share(unsigned int number, int action) {
    return quietly([number, action] {
        CapMgr_SetSharedAppWnd(0, number, static_cast<tagCapAppActType>(action));
    });
}

Messages shared(const std::string& values, const Messages& between) {
    return joined(Messages{step("CPSW", "begin to set share windows", "[Index:0, " + values + "]")},
                  between, Messages{step("CPSW", "set share windows end", "[NULL]")});
}

const Messages kExcluded = {information("CCaptureBase::SetExcludeWnd... Begin!"),
                            information("CCaptureBase::SetExcludeWnd... End!")};

INSTANTIATE_TEST_SUITE_P(
    Windows, CallSequences,
    testing::Values(
        CallSequence{"excludeBeforeAStart",
                     CallSequences::generateIndex,
                     exclude(7, 1),
                     "",
                     {excludeEntry("true, action type: 1")},
                     {}},
        CallSequence{"excludeByAnotherAction",
                     CallSequences::generateIndex,
                     exclude(0, -3),
                     "",
                     {excludeEntry("false, action type: -3")},
                     {}},
        CallSequence{"excludeFromACapture",
                     CallSequences::startCapture,
                     exclude(7, 1),
                     "",
                     joined(Messages{excludeEntry("true, action type: 1")}, kExcluded),
                     {}},
        CallSequence{"clearOfACapture",
                     CallSequences::startCapture,
                     exclude(0, 0),
                     "",
                     joined(Messages{excludeEntry("false, action type: 0")}, kExcluded),
                     {}},
        CallSequence{"excludeNothingFromACapture",
                     CallSequences::startCapture,
                     exclude(0, 1),
                     "",
                     {excludeEntry("false, action type: 1"),
                      information("CCaptureBase::SetExcludeWnd... Begin!"),
                      error("CMagCapture::SetExcludeWnd()... Invalid Param!")},
                     {}},
        CallSequence{"share",
                     CallSequences::startCapture,
                     share(52, 1),
                     "",
                     shared("Action:1, nAppWndID:52",
                            {information("CCaptureBase::SetSharedAppWnd... Begin!"),
                             error("CCaptureBase::SetSharedAppWnd()... SharedWnd ID changed!"),
                             information("CCaptureBase::SetSharedAppWnd()... "
                                         "m_nWndCaptureID = 52"),
                             information("CCaptureBase::SetSharedAppWnd... End!")}),
                     {}},
        CallSequence{"shareNoMore",
                     CallSequences::startCapture,
                     share(4294967295U, -1),
                     "",
                     shared("Action:-1, nAppWndID:4294967295",
                            {information("CCaptureBase::SetSharedAppWnd... Begin!"),
                             information("CCaptureBase::SetSharedAppWnd... End!")}),
                     {}},
        CallSequence{
            "shareOfNothing",
            CallSequences::generateIndex,
            share(52, 1),
            "",
            shared("Action:1, nAppWndID:52", {error("SetSharedAppWnd... param pCapture invalid!")}),
            {}},
        CallSequence{"colour",
                     CallSequences::startCapture,
                     quietly([] { CapMgr_SetAppShareBgColor(0, 1, 2, 4294967295U); }),
                     "",
                     {information("SetAppShareBgColor... dwIndex = 0 rgnType = 1 brushType = 2 "
                                  "clrref = 4294967295"),
                      information("CCaptureBase::SetAppShareBackColor...nRgnType = 1, "
                                  "nBrushType = 2")},
                     {}},
        CallSequence{"colourOfNothing",
                     CallSequences::generateIndex,
                     quietly([] { CapMgr_SetAppShareBgColor(0, 4294967295U, 2, 3); }),
                     "",
                     {information("SetAppShareBgColor... dwIndex = 0 rgnType = 4294967295 "
                                  "brushType = 2 clrref = 3"),
                      information("SetAppShareBgColor... pCapture == NULL")},
                     {}}),
    nameOf);

}  // namespace
