"""Faults for the lines that are compiled for macOS alone, or matter there alone, and who must notice
each. The tests of no other system see them."""

from dataclasses import dataclass

_SCREEN_INFO = "src/component/captureManager/ScreenInfo.mm"


@dataclass(frozen=True)
class Fault:
    file: str
    old: str  # is there exactly once
    new: str
    program: str
    tests: str  # of which one must fail, as the program's filter takes them


def _in_screen_info(old: str, new: str, tests: str) -> Fault:
    return Fault(_SCREEN_INFO, old, new, "screen_info_test", f"ScreenInfo*.{tests}")


def _in_the_end_of_a_thread(file: str, old: str, new: str) -> Fault:
    return Fault(f"src/component/captureManager/{file}", old, new, "contract_test",
                 "CancelledCapture.letsGoOfTheImageThatItHolds")


# What runs as before: that nobody notices it must be said.
HARMLESS = _in_screen_info("    return nil;", "    return nullptr;", "*")

FAULTS = {
    # Elsewhere destructors run for a thread that is cancelled, and nobody misses the handlers.
    "an_image_kept_by_a_cancelled_thread": _in_the_end_of_a_thread(
        "CaptureMac.cpp", "static_cast<CapturedFrame*>(frame)->release();",
        "static_cast<void>(frame);"),
    "nothing_done_for_a_cancelled_thread": _in_the_end_of_a_thread(
        "ThreadRun.cpp", "while (newest_ != nullptr) {", "while (false) {"),
    "another_screen": _in_screen_info(
        "[number integerValue] == ", "[number integerValue] != ",
        "reportsTheScreenThatShowsTheDisplay"),
    "half_of_a_screens_number": _in_screen_info(
        "[number integerValue] == ", "static_cast<int32_t>([number integerValue]) == ",
        "comparesTheWholeNumberOfAScreen"),
    "a_signed_display": _in_screen_info(
        "static_cast<NSInteger>(displayID)",
        "static_cast<NSInteger>(static_cast<int32_t>(displayID))",
        "takesADisplaysNumberAsUnsigned"),
    "another_key": _in_screen_info(
        '@"NSScreenNumber"', '@"NSDeviceSize"', "reportsTheScreenThatShowsTheDisplay"),
    "never_a_screen": _in_screen_info(
        "            return screen;", "            return nil;",
        "reportsTheScreenThatShowsTheDisplay"),
    "the_main_screen_too_soon": _in_screen_info(
        "    return nil;", "    return [NSScreen mainScreen];",
        "asksForTheMainScreenOncePerOutput"),
    "a_search_for_display_zero": _in_screen_info(
        "displayID == 0 ? nil : screenThatShows(displayID)", "screenThatShows(displayID)",
        "ofDisplayZeroAsksForTheMainScreenOnly"),
    "another_display_for_zero": _in_screen_info(
        "displayID == 0 ?", "displayID == 69 ?", "reportsTheScreenThatShowsTheDisplay"),
    "a_frame_without_a_place": _in_screen_info(
        "if (frame != nullptr) {",
        "if (frame != nullptr || scaleFactor != nullptr) {", "withoutAFrameAsksForTheScaleOnly"),
    "a_scale_without_a_place": _in_screen_info(
        "if (scaleFactor != nullptr) {",
        "if (scaleFactor != nullptr || frame != nullptr) {", "withoutAScaleAsksForTheFrameOnly"),
    "no_main_screen_for_the_frame": _in_screen_info(
        "[(screen != nil ? screen : [NSScreen mainScreen]) frame]", "[screen frame]",
        "ofAnUnknownDisplayReportsTheMainScreen"),
    "no_main_screen_for_the_scale": _in_screen_info(
        "[(screen != nil ? screen : [NSScreen mainScreen]) backingScaleFactor]",
        "[screen backingScaleFactor]", "ofAnUnknownDisplayReportsTheMainScreen"),
    "the_main_screen_always": _in_screen_info(
        "[(screen != nil ? screen : [NSScreen mainScreen]) frame]",
        "[(screen == nil ? screen : [NSScreen mainScreen]) frame]",
        "reportsTheScreenThatShowsTheDisplay"),
    "a_doubled_scale": _in_screen_info(
        "*scaleFactor = [", "*scaleFactor = 2 * [", "reportsTheScreenThatShowsTheDisplay"),
    "a_scale_in_whole_numbers": _in_screen_info(
        "*scaleFactor = [(screen != nil ? screen : [NSScreen mainScreen]) backingScaleFactor];",
        "*scaleFactor = static_cast<int>("
        "[(screen != nil ? screen : [NSScreen mainScreen]) backingScaleFactor]);",
        "reportsTheScreenThatShowsTheDisplay"),
}
