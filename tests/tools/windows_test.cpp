/* What 'capmgr windows' lists. */
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "capmgr_fixture.h"
#include "desktop_session.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

/* A server of the test's own with an application on it. */
class WindowsTest : public CapmgrTest {
  protected:
    static constexpr Area kArea{10, 20, 300, 200};

    /* Opens a window and gives it its names. */
    xcb_window_t open(const std::string& application, const std::string& title,
                      const Look& look = {.area = kArea}) const {
        const xcb_window_t window = client.open(look);
        client.setBytes(window, "WM_CLASS", "UTF8_STRING", application);
        client.setTitle(window, title);
        client.sync();
        return window;
    }

    /* The lines without the titles. */
    std::vector<std::string> rows(OutputKind kind = OutputKind::Pipe) const {
        ChildSetup setup = capmgr(server.display(), {"windows"});
        setup.output = kind;
        const ChildResult result = runToEnd(setup);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        std::vector<std::string> lines = linesOf(result.output);
        EXPECT_FALSE(lines.empty());
        if (!lines.empty()) {
            lines.erase(lines.begin());
        }
        return lines;
    }

    const XvfbServer server{"800x600x24"};
    const WindowClient client{server.display()};
};

TEST_F(WindowsTest, EmptyScreenIsToldInALine) {
    const ChildResult result = runCapmgr(server.display(), {"windows"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "There are no windows on screen.\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(WindowsTest, RowHoldsAllThatIsKnownOfAWindow) {
    const xcb_window_t window = open("Editor", "notes.txt");
    const ChildResult result = runCapmgr(server.display(), {"windows"});
    const std::vector<std::string> lines = linesOf(result.output);
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], ContainsRegex("^Stack +Window +Hex  Kind +Position +Size  "
                                        "Application  Title$"));
    std::ostringstream row;
    row << "^ +1  " << window << "  0x" << std::hex << window
        << "  normal +10,20  300x200  Editor +notes.txt$";
    EXPECT_THAT(lines[1], ContainsRegex(row.str()));
}

TEST_F(WindowsTest, RowsGoFromTheFrontToTheBack) {
    const xcb_window_t first = open("A", "first");
    open("B", "second");
    open("C", "third");
    client.raise(first);
    client.sync();
    const std::vector<std::string> lines = rows();
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_THAT(lines[0], AllOf(ContainsRegex("^ +1 "), EndsWith("first")));
    EXPECT_THAT(lines[1], AllOf(ContainsRegex("^ +2 "), EndsWith("third")));
    EXPECT_THAT(lines[2], AllOf(ContainsRegex("^ +3 "), EndsWith("second")));
}

TEST_F(WindowsTest, KindSaysWhatAWindowIs) {
    client.setTypes(open("A", "the desktop"), {"_NET_WM_WINDOW_TYPE_DESKTOP"});
    client.setTypes(open("A", "the panel"), {"_NET_WM_WINDOW_TYPE_DOCK"});
    client.setTypes(open("A", "the tools"), {"_NET_WM_WINDOW_TYPE_UTILITY"});
    open("A", "the menu", {.area = kArea, .isOverrideRedirect = true});
    const std::vector<std::string> lines = rows();
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_THAT(lines[0], ContainsRegex("  menu  .*the menu$"));
    EXPECT_THAT(lines[1], ContainsRegex("  floating  .*the tools$"));
    EXPECT_THAT(lines[2], ContainsRegex("  panel  .*the panel$"));
    EXPECT_THAT(lines[3], ContainsRegex("  desktop  .*the desktop$"));
}

TEST_F(WindowsTest, WindowWithoutNamesHasDashes) {
    client.open({.area = kArea});
    client.sync();
    ASSERT_THAT(rows(), SizeIs(1));
    EXPECT_THAT(rows()[0], ContainsRegex("  300x200  - +-$"));
}

TEST_F(WindowsTest, WideCharactersTakeTwoCells) {
    open("\u65e5\u672c\u8a9e", "wide");
    open("cafe\u0301", "combining");
    const std::vector<std::string> lines = rows();
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], EndsWith("  cafe\u0301         combining"));
    EXPECT_THAT(lines[1], EndsWith("  \u65e5\u672c\u8a9e       wide"));
}

TEST_F(WindowsTest, LongTitleIsWholeInAPipe) {
    const std::string title(300, 'x');
    open("A", title);
    ASSERT_THAT(rows(), SizeIs(1));
    EXPECT_THAT(rows()[0], EndsWith("  " + title));
}

/* The terminal of the tests is 100 cells wide. */
constexpr std::size_t kTerminalWidth = 100;

TEST_F(WindowsTest, LongTitleIsCutToTheTerminal) {
    open("A", std::string(300, 'x'));
    const std::vector<std::string> lines = rows(OutputKind::Terminal);
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], ContainsRegex("x\u2026\r$"));
    EXPECT_EQ(lines[0].size(), kTerminalWidth + 2 + 1);  // the ellipsis has three bytes; the return
}

TEST_F(WindowsTest, WideTitleIsCutBetweenCharacters) {
    std::string title = "x";
    for (int i = 0; i < 100; ++i) {
        title += "\u65e5";
    }
    open("A", title);
    const std::vector<std::string> lines = rows(OutputKind::Terminal);
    ASSERT_THAT(lines, SizeIs(1));
    const std::size_t begin = lines[0].find('x', lines[0].find("  A "));
    const std::size_t wide = (lines[0].size() - begin - 1 - 3 - 1) / 3;  // each three bytes
    EXPECT_THAT(lines[0], EndsWith("\u65e5\u2026\r"));
    EXPECT_LE(begin + 1 + 2 * wide + 1, kTerminalWidth);
    EXPECT_GE(begin + 1 + 2 * wide + 1, kTerminalWidth - 1);
}

TEST_F(WindowsTest, TitleCannotDriveTheTerminal) {
    open("A", "one\ntwo\x1b[2J\u202ethree\u0007");
    const ChildResult result = runCapmgr(server.display(), {"windows"});
    EXPECT_THAT(linesOf(result.output), SizeIs(2));
    EXPECT_THAT(result.output, HasSubstr("  one two [2J three"));
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
}

TEST_F(WindowsTest, JsonHoldsWhatTheTableDoes) {
    open("Editor", "one two");
    const ChildResult result = runCapmgr(server.display(), {"windows", "--json"});
    EXPECT_EQ(result.status, 0);
    const auto windows = nlohmann::json::parse(result.output);
    ASSERT_THAT(windows, SizeIs(1));
    EXPECT_THAT(rows()[0], HasSubstr(std::to_string(windows[0]["number"].get<unsigned int>())));
    EXPECT_EQ(windows[0]["kind"], "normal");
    EXPECT_EQ(windows[0]["application"], "Editor");
    EXPECT_EQ(windows[0]["title"], "one two");
    EXPECT_EQ(windows[0]["width"], kArea.width);
    EXPECT_EQ(windows[0]["height"], kArea.height);
}

TEST_F(WindowsTest, TerminalsOfAManagedDesktopAreListedAsTheManagerStacksThem) {
    DesktopSession desktop(server.display());
    desktop.startWindowManager();
    for (const char* const title : {"first", "second", "third"}) {
        desktop.startClient({"xterm", "-title", title});
    }
    std::vector<std::uint32_t> listed;
    for (const std::string& line : rows()) {
        std::istringstream columns(line);
        std::uint32_t stack = 0;
        std::uint32_t number = 0;
        columns >> stack >> number;
        if (line.find("  normal  ") != std::string::npos &&
            line.find("  XTerm  ") != std::string::npos) {
            listed.push_back(number);
        }
    }
    std::vector<std::uint32_t> stacking =
        client.numbersIn(client.root(), "_NET_CLIENT_LIST_STACKING");
    std::reverse(stacking.begin(), stacking.end());
    EXPECT_THAT(stacking, SizeIs(3));
    EXPECT_EQ(listed, stacking);
}

}  // namespace
