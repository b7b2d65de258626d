#include <sys/stat.h>

#include <memory>

#include "capmgr_fixture.h"
#include "xvfb_server.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Refusal {
    const char* name;
    std::vector<std::string> arguments;
    int status;
    const char* part;  // of the one line on standard error
};

void PrintTo(const Refusal& refusal, std::ostream* stream) {
    *stream << refusal.name;
}

/* One server for all: a refused command leaves it as it was. */
class RefusalTest : public CapmgrTest, public testing::WithParamInterface<Refusal> {
  protected:
    static void SetUpTestSuite() { server = std::make_unique<XvfbServer>("640x480x24"); }
    static void TearDownTestSuite() { server.reset(); }

    static std::unique_ptr<XvfbServer> server;
};

std::unique_ptr<XvfbServer> RefusalTest::server;

TEST_P(RefusalTest, TellsInOneLineAndLeavesNothing) {
    makeFile("file", "kept");
    std::filesystem::create_directory(file("folder"));
    const ChildResult result = runCapmgr(server->display(), GetParam().arguments);
    expectRefusal(result, GetParam().status, GetParam().part);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(names(), ElementsAre("file", "folder"));
    EXPECT_EQ(std::filesystem::file_size(file("file")), 4U);
}

const Refusal kBadUsage[] = {
    {"NoCommand", {}, 2, "a command is required: monitors, windows, shot"},
    {"UnknownCommand", {"snap"}, 2, "'snap' is not a command: monitors, windows, shot"},
    {"UnknownGlobalOption", {"--nope"}, 2, "'--nope' is not an option"},
    {"UnknownOption",
     {"shot", "--sise", "1x1", "a.png"},
     2,
     "'--sise' is not an option of shot; see 'capmgr shot --help'"},
    {"NoFile", {"shot"}, 2, "FILE is required"},
    {"EmptyFile", {"shot", ""}, 2, "FILE: the name is empty"},
    {"TwoFiles", {"shot", "a.png", "b.png"}, 2, "'b.png' is more than shot takes"},
    {"SizeOfWords", {"shot", "--size", "banana", "a.png"}, 2, "'banana' is not WIDTHxHEIGHT"},
    {"SizeOfOneNumber", {"shot", "--size", "640", "a.png"}, 2, "'640' is not WIDTHxHEIGHT"},
    {"NegativeSize", {"shot", "--size", "-1x5", "a.png"}, 2, "'-1x5' is not WIDTHxHEIGHT"},
    {"SizeOverflow", {"shot", "--size", "4294967296x1", "a.png"}, 2, "is not WIDTHxHEIGHT"},
    {"NoWidth",
     {"shot", "--size", "0x720", "a.png"},
     2,
     "--size 0x720: both sides must be at least 1 and at most 640x480"},
    {"NoHeight", {"run", "--size", "640x0"}, 2, "at least 1 and at most 640x480"},
    {"NegativeMonitor", {"shot", "--monitor", "-1", "a.png"}, 2, "--monitor: '-1' is not"},
    {"MonitorOfWords", {"run", "--monitor", "left"}, 2, "--monitor: 'left' is not"},
    {"NoRate", {"run", "--fps", "0"}, 2, "--fps: '0' is not a whole number from 1 to 30"},
    {"RateTooHigh", {"run", "--fps", "31"}, 2, "--fps: '31' is not a whole number from 1 to 30"},
    {"BrokenRate", {"run", "--fps", "2.5"}, 2, "--fps: '2.5' is not a whole number"},
    {"SecondsNotANumber", {"run", "--seconds", "nan"}, 2, "--seconds: 'nan' is not a number"},
    {"EndlessSeconds", {"run", "--seconds", "inf"}, 2, "--seconds: 'inf' is not a number"},
    {"NoSeconds", {"run", "--seconds", "0"}, 2, "--seconds: '0' is not a number above 0"},
    {"NegativeSeconds", {"run", "--seconds", "-3"}, 2, "--seconds: '-3' is not a number above 0"},
    {"RateTwice", {"run", "--fps", "5", "--fps", "6"}, 2, "--fps"},
    {"EmptyDirectory", {"run", "--out", ""}, 2, "--out: the name is empty"},
    {"TraceLevelTooHigh", {"--trace", "4", "monitors"}, 2, "--trace: '4' is not a whole number"},
    {"WindowOfWords", {"shot", "--window=abc", "a.png"}, 2, "--window: 'abc' is not a window's"},
    {"NegativeWindow", {"shot", "--window", "-5", "a.png"}, 2, "--window: '-5' is not a window's"},
    {"NoWindow", {"run", "--window", "0"}, 2, "--window: '0' is not a window's number"},
    {"WindowTooLarge",
     {"shot", "--window=4294967296", "a.png"},
     2,
     "--window: '4294967296' is not"},
    {"HexWindowTooLarge", {"run", "--window=0x100000000"}, 2, "--window: '0x100000000' is not"},
    {"HexWithoutDigits",
     {"shot", "--window", "0x", "a.png"},
     2,
     "--window: '0x' is not a window's"},
    {"SignedHex", {"shot", "--window", "0x-5", "a.png"}, 2, "--window: '0x-5' is not a window's"},
    {"WindowTwice", {"run", "--window", "5", "--window", "6"}, 2, "--window"},
    {"ExcludedWindowOfWords",
     {"run", "--exclude", "5,abc"},
     2,
     "--exclude: 'abc' is not a window's"},
    {"NothingExcluded", {"shot", "a.png", "--exclude"}, 2, "--exclude"},
    {"WindowAndOthersLess",
     {"shot", "--window", "5", "--exclude", "6", "a.png"},
     2,
     "--window and --exclude cannot go together"},
    {"RecordingWithoutAFile", {"record"}, 2, "FILE is required"},
    {"RecordingWithoutAnEnding", {"record", "a"}, 2, "a does not end in mkv, mp4, webm or y4m"},
    {"RecordingOfAnUnknownKind", {"record", "a.avi"}, 2, "a.avi does not end in mkv, mp4"},
    {"UnknownFormat", {"record", "--format", "flv", "-"}, 2, "'flv' is not mkv, mp4, webm or y4m"},
    {"FormatAgainstTheName",
     {"record", "--format", "mp4", "a.mkv"},
     2,
     "--format mp4 does not go with the name a.mkv"},
    {"UnknownCodec", {"record", "--codec", "av1", "a.mkv"}, 2, "'av1' is not what goes into mkv"},
    {"CodecThatDoesNotFit",
     {"record", "--codec", "vp8", "a.mp4"},
     2,
     "'vp8' is not what goes into mp4: h264"},
    {"UnknownQuality", {"record", "--quality", "best", "a.mkv"}, 2, "'best' is not low, medium"},
    {"QualityOfWhatLosesNothing",
     {"record", "--quality", "low", "a.y4m"},
     2,
     "--quality: raw has but one"},
    {"NoRecordingTime", {"record", "--seconds", "0", "a.mkv"}, 2, "'0' is not a number above 0"},
    {"RecordingAndJsonTogether", {"record", "--json", "-"}, 2, "--json and '-' cannot go together"},
    {"NoShell", {"completion"}, 2, "bash|zsh|fish|man is required"},
    {"UnknownShell", {"completion", "tcsh"}, 2, "'tcsh' is not bash, zsh, fish or man"},
    {"TwoShells", {"completion", "bash", "zsh"}, 2, "zsh"},
    {"PickAndWindow",
     {"shot", "--pick", "--window", "5", "a.png"},
     2,
     "--window and --pick cannot go together"},
    {"PickAndExclude",
     {"run", "--pick", "--exclude", "5"},
     2,
     "--pick and --exclude cannot go together"},
    {"PickAndPickExclude",
     {"shot", "--pick", "--pick-exclude", "a.png"},
     2,
     "--pick and --pick-exclude cannot go together"},
    {"WindowAndPickExclude",
     {"shot", "--window", "5", "--pick-exclude", "a.png"},
     2,
     "--window and --pick-exclude cannot go together"},
    {"PickOfAValue", {"shot", "--pick=5", "a.png"}, 2, "pick was given"},
    {"UnknownColor",
     {"--color", "red", "monitors"},
     2,
     "--color: 'red' is not auto, always or never"},
    {"NoSheet", {"thumbs"}, 2, "FILE is required"},
    {"ThumbsTooNarrow", {"thumbs", "--width", "63", "a.png"}, 2, "--width: '63' is not a whole"},
    {"ThumbsTooWide", {"thumbs", "--width=1921", "a.png"}, 2, "--width: '1921' is not a whole"},
    {"ThumbsOfAWindow", {"thumbs", "--window", "5", "a.png"}, 2, "--window"},
    {"IntervalTooShort", {"stats", "--interval", "0.05"}, 2, "--interval: '0.05' is less than 0.1"},
    {"IntervalOfWords", {"stats", "--interval", "often"}, 2, "--interval: 'often' is not a number"},
    {"EndlessStats", {"stats", "--seconds", "inf"}, 2, "--seconds: 'inf' is not a number"},
    {"EmptyTrace", {"trace-view", ""}, 2, "FILE: the name is empty"},
    {"TwoTraces", {"trace-view", "a", "b"}, 2, "b"},
    {"RateOfAShot", {"shot", "--fps", "5", "a.png"}, 2, "--fps"},
    {"NoSecondsOfAView", {"view", "--seconds", "0"}, 2, "--seconds: '0' is not a number above 0"},
    {"FileOfAView", {"view", "a.png"}, 2, "a.png"},
    {"ViewerInAPictureOfAWindow",
     {"view", "--window", "5", "--include-self"},
     2,
     "--window and --include-self cannot go together"},
    {"ViewerInAPictureOfAPickedWindow",
     {"view", "--pick", "--include-self"},
     2,
     "--pick and --include-self cannot go together"},
    {"JsonOfAValue", {"run", "--json=false"}, 2, "json"},
    {"OverlayOfAValue", {"view", "--no-overlay=false"}, 2, "no-overlay"},
    {"ViewerItselfOfAValue", {"view", "--include-self=no"}, 2, "include-self"},
};

const Refusal kImpossible[] = {
    {"AbsentMonitor",
     {"shot", "--monitor", "3", "a.png"},
     1,
     "no monitor 3: there is only monitor 0"},
    {"AbsentMonitorOfARun", {"run", "--monitor", "1"}, 1, "no monitor 1: there is only monitor 0"},
    {"AbsentWindow", {"shot", "--window", "12", "a.png"}, 1, "no window 12 on screen; see"},
    {"AbsentWindowOfARun", {"run", "--window", "0xc"}, 1, "no window 12 on screen; see"},
    {"AbsentWindowOfAView", {"view", "--window", "12"}, 1, "no window 12 on screen; see"},
    {"AbsentMonitorOfAView",
     {"view", "--monitor", "1"},
     1,
     "no monitor 1: there is only monitor 0"},
    {"TooWide", {"shot", "--size", "641x480", "a.png"}, 1, "--size 641x480"},
    {"TooHigh", {"run", "--size", "640x481"}, 1, "at least 1 and at most 640x480"},
    {"AbsentTrace", {"trace-view", "none"}, 1, "cannot read none: No such file"},
    {"TraceIsAFolder", {"trace-view", "folder"}, 1, "cannot read folder: Is a directory"},
    {"SheetInNoFolder", {"thumbs", "none/a.png"}, 1, "cannot write none/a.png"},
    {"NoSuchFolder", {"shot", "none/a.png"}, 1, "cannot write none/a.png: none: No such file"},
    {"FileIsAFolder", {"shot", "folder"}, 1, "folder: Is a directory"},
    {"FileNamesAFolder", {"shot", "folder/"}, 1, "folder/: Is a directory"},
    {"FileBelowAFile", {"shot", "file/a.png"}, 1, "file/a.png: Not a directory"},
    {"FileIsADevice", {"shot", "/dev/null"}, 1, "/dev/null: it exists and is not a regular file"},
    {"FolderThatTakesNoFiles", {"shot", "/proc/a.png"}, 1, "cannot write /proc/a.png"},
    {"RecordingIsAFolder", {"record", "--format", "mkv", "folder"}, 1, "folder: Is a directory"},
    {"RecordingInNoFolder", {"record", "none/a.mkv"}, 1, "cannot write none/a.mkv: none: No such"},
    {"RecordingWhereNoFilesGo", {"record", "/proc/a.mkv"}, 1, "cannot write /proc/a.mkv"},
    {"RecordingOfNoMonitor", {"record", "--monitor", "3", "a.mkv"}, 1, "no monitor 3"},
    {"RecordingOfNoWindow", {"record", "--window", "12", "a.mkv"}, 1, "no window 12 on screen"},
    {"DirectoryIsAFile", {"run", "--out", "file"}, 1, "into directory file: "},
    {"DirectoryBelowAFile", {"run", "--out", "file/out"}, 1, "into directory file/out: "},
    {"DirectoryThatTakesNoFiles", {"run", "--out", "/proc/self"}, 1, "first.png"},
};

std::string nameOf(const testing::TestParamInfo<Refusal>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(BadUsage, RefusalTest, testing::ValuesIn(kBadUsage), nameOf);
INSTANTIATE_TEST_SUITE_P(Impossible, RefusalTest, testing::ValuesIn(kImpossible), nameOf);

class NoServerTest : public CapmgrTest,
                     public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(NoServerTest, TellsWhichDisplayIsMeant) {
    // Servers that choose their number themselves begin at 0 and never come this far.
    const std::string gone = ":9999";
    expectRefusal(runCapmgr(gone, GetParam()), 1,
                  "cannot reach a display server (DISPLAY is '" + gone + "')");
    expectRefusal(runCapmgr("", GetParam()), 1,
                  "cannot reach a display server (DISPLAY is not set)");
    EXPECT_THAT(names(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    EveryCommand, NoServerTest,
    testing::Values(std::vector<std::string>{"monitors"}, std::vector<std::string>{"windows"},
                    std::vector<std::string>{"shot", "a.png"},
                    std::vector<std::string>{"thumbs", "a.png"}, std::vector<std::string>{"run"},
                    std::vector<std::string>{"record", "a.mkv"}, std::vector<std::string>{"view"},
                    std::vector<std::string>{"stats"}),
    [](const auto& test) { return test.param.front(); });

using EmptySizeTest = CapmgrTest;

TEST_F(EmptySizeTest, IsBadUsageEvenWithoutAServer) {
    expectRefusal(runCapmgr("", {"shot", "--size", "0x1", "a.png"}), 2,
                  "at least 1 and at most the monitor's own size");
}

}  // namespace
