/* What applications say of their windows is told as it is meant, and none can spoil the list. */
#include <functional>
#include <string_view>

#include "window_info.h"

namespace {

using namespace std::string_view_literals;

/* What an application may write, and how it is told of. */
struct Names {
    const char* name;
    struct Property {
        const char* name;
        const char* type;
        std::string_view bytes;
    };
    std::vector<Property> properties;
    std::optional<std::string> owner;
    std::optional<std::string> title;
};

void PrintTo(const Names& names, std::ostream* stream) {
    *stream << names.name;
}

class WindowNamesTest : public WindowTest, public testing::WithParamInterface<Names> {};

TEST_P(WindowNamesTest, AreToldOf) {
    const xcb_window_t window = open({.area = {0, 0, 9, 9}});
    for (const Names::Property& property : GetParam().properties)
        client().setBytes(window, property.name, property.type, property.bytes);
    client().sync();
    const WindowInfo info = infoOf(window);
    EXPECT_EQ(info.owner, GetParam().owner);
    EXPECT_EQ(info.title, GetParam().title);
}

constexpr const char* kNetName = "_NET_WM_NAME";
constexpr const char* kUtf8Type = "UTF8_STRING";
const std::optional<std::string> kNone = std::nullopt;

INSTANTIATE_TEST_SUITE_P(
    Names, WindowNamesTest,
    testing::Values(
        Names{"Utf8",
              {{kNetName, kUtf8Type, "caf\u00e9 \u65e5\u672c"}},
              kNone,
              "caf\u00e9 \u65e5\u672c"},
        Names{"Latin1", {{"WM_NAME", "STRING", "caf\xe9"}}, kNone, "caf\u00e9"},
        Names{"OlderInUtf8", {{"WM_NAME", kUtf8Type, "caf\u00e9"}}, kNone, "caf\u00e9"},
        Names{"Compound", {{"WM_NAME", "COMPOUND_TEXT", "a\x1b$(B$\x22\x1b(Bz"}}, kNone, "az"},
        Names{"Both", {{"WM_NAME", "STRING", "old"}, {kNetName, kUtf8Type, "new"}}, kNone, "new"},
        Names{"EmptyNew", {{"WM_NAME", "STRING", "old"}, {kNetName, kUtf8Type, ""}}, kNone, "old"},
        Names{"Empty", {{"WM_NAME", "STRING", ""}, {"WM_CLASS", "STRING", ""}}, kNone, kNone},
        Names{"Class", {{"WM_CLASS", "STRING", "term\0Term\0"sv}}, "Term", kNone},
        Names{"ClassInLatin1", {{"WM_CLASS", "STRING", "a\0Caf\xe9\0"sv}}, "Caf\u00e9", kNone},
        Names{"ClassWithoutEnd", {{"WM_CLASS", "STRING", "term\0Term"sv}}, "Term", kNone},
        Names{"InstanceOnly", {{"WM_CLASS", "STRING", "term\0\0"sv}}, "term", kNone},
        Names{"OneName", {{"WM_CLASS", "STRING", "term"}}, "term", kNone},
        Names{"NotUtf8", {{kNetName, kUtf8Type, "a\xff\xc0z"}}, kNone, "a\ufffd\ufffdz"},
        Names{"NulInIt", {{kNetName, kUtf8Type, "first\0second"sv}}, kNone, "first"},
        Names{"OnlyNuls", {{kNetName, kUtf8Type, "\0\0\0"sv}}, kNone, kNone},
        Names{"Controls", {{kNetName, kUtf8Type, "a\n\x1b]0;b\x07"}}, kNone, "a  ]0;b "},
        Names{
            "NoText", {{kNetName, "PIXMAP", "abcd"}, {"WM_CLASS", "WINDOW", "ab"}}, kNone, kNone}),
    [](const auto& instance) { return instance.param.name; });

struct ProcessId {
    const char* name;
    xcb_atom_t type;
    std::vector<std::uint32_t> values;
    int told;
};

void PrintTo(const ProcessId& processId, std::ostream* stream) {
    *stream << processId.name;
}

class WindowProcessTest : public WindowTest, public testing::WithParamInterface<ProcessId> {};

TEST_P(WindowProcessTest, IsToldIfItCanBeOne) {
    const xcb_window_t window = open({.area = {0, 0, 9, 9}});
    client().setProperty(window, "_NET_WM_PID", GetParam().type, GetParam().values);
    client().sync();
    EXPECT_EQ(infoOf(window).processId, GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(
    Values, WindowProcessTest,
    testing::Values(ProcessId{"Usual", XCB_ATOM_CARDINAL, {4321}, 4321},
                    ProcessId{"Greatest", XCB_ATOM_CARDINAL, {0x7fffffff}, 0x7fffffff},
                    ProcessId{"TooGreat", XCB_ATOM_CARDINAL, {0x80000000}, 0},
                    ProcessId{"AllBits", XCB_ATOM_CARDINAL, {0xffffffff}, 0},
                    ProcessId{"OtherType", XCB_ATOM_WINDOW, {4321}, 0},
                    ProcessId{"NoValue", XCB_ATOM_CARDINAL, {}, 0}),
    [](const auto& instance) { return instance.param.name; });

/* A window whose application means no good, and one beside it that has to be told of as ever. */
struct Trick {
    const char* name;
    std::function<void(const WindowClient&, xcb_window_t)> play;
};

void PrintTo(const Trick& trick, std::ostream* stream) {
    *stream << trick.name;
}

class HostileWindowTest : public WindowTest, public testing::WithParamInterface<Trick> {};

TEST_P(HostileWindowTest, IsToldOfLikeAnyOtherAndHarmsNone) {
    const xcb_window_t honest = client().open({.area = {0, 0, 9, 9}});
    const xcb_window_t hostile = client().open({.area = {0, 0, 9, 9}});
    client().setTitle(honest, "honest");
    GetParam().play(client(), hostile);
    client().sync();
    const std::vector<WindowInfo> infos = windowInfos();
    ASSERT_EQ(numbersOf(infos), (Windows{hostile, honest}));
    EXPECT_EQ(infos[1].title, "honest");
    EXPECT_EQ(infos[0].title.value_or(""), "");
    EXPECT_EQ(infos[0].owner.value_or(""), "");
    EXPECT_EQ(infos[0].processId, 0);
    EXPECT_EQ(infos[0].alpha, 1);
    EXPECT_EQ(infos[0].layer, 0);
}

void loopTransients(const WindowClient& client, xcb_window_t window) {
    const xcb_window_t other = client.create({.area = {0, 0, 9, 9}});
    client.setProperty(window, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, {other});
    client.setProperty(other, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, {window});
}

/* Each property that is read, but of numbers where it should be text, and the other way round. */
void swapFormats(const WindowClient& client, xcb_window_t window) {
    for (const char* name : {"WM_NAME", "WM_CLASS"})
        client.setProperty(window, name, XCB_ATOM_STRING, {0x41414141, 0x41414141});
    for (const char* name : {"_NET_WM_PID", "_NET_WM_WINDOW_OPACITY"})
        client.setBytes(window, name, "CARDINAL", "\1\1\1\1"sv);
    client.setTypes(window, {"_NET_WM_WINDOW_TYPE_DOCK"});
    client.setStates(window, {"_NET_WM_STATE_ABOVE"});
    for (const char* name : {"_NET_WM_WINDOW_TYPE", "_NET_WM_STATE"}) {
        const std::uint32_t atom = client.numbersIn(window, name).at(0);
        client.setBytes(window, name, "ATOM", {reinterpret_cast<const char*>(&atom), sizeof atom});
    }
}

void swapTypes(const WindowClient& client, xcb_window_t window) {
    for (const char* name : {"WM_NAME", "WM_CLASS", "_NET_WM_NAME"})
        client.setBytes(window, name, "ATOM", "text");
    for (const char* name :
         {"_NET_WM_PID", "_NET_WM_WINDOW_OPACITY", "_NET_WM_WINDOW_TYPE", "_NET_WM_STATE"})
        client.setProperty(window, name, XCB_ATOM_STRING, {1});
}

/* Types and states without end, none of them known. */
void listManyTypes(const WindowClient& client, xcb_window_t window) {
    const std::vector<std::uint32_t> many(1'000'000, 0xfffffff0);
    client.setProperty(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, many);
    client.setProperty(window, "_NET_WM_STATE", XCB_ATOM_ATOM, many);
}

void emptyAll(const WindowClient& client, xcb_window_t window) {
    for (const char* name : {"WM_NAME", "WM_CLASS", "_NET_WM_NAME"})
        client.setBytes(window, name, "STRING", "");
    for (const char* name : {"_NET_WM_PID", "_NET_WM_WINDOW_OPACITY"})
        client.setProperty(window, name, XCB_ATOM_CARDINAL, {});
    for (const char* name : {"_NET_WM_WINDOW_TYPE", "_NET_WM_STATE"})
        client.setProperty(window, name, XCB_ATOM_ATOM, {});
}

INSTANTIATE_TEST_SUITE_P(Tricks, HostileWindowTest,
                         testing::Values(Trick{"LoopedTransients", loopTransients},
                                         Trick{"SwappedFormats", swapFormats},
                                         Trick{"SwappedTypes", swapTypes},
                                         Trick{"ManyTypes", listManyTypes},
                                         Trick{"EmptyProperties", emptyAll}),
                         [](const auto& instance) { return instance.param.name; });

using LongNamesTest = WindowTest;

TEST_F(LongNamesTest, OfAHugeTitleOnlyTheBeginningIsRead) {
    const xcb_window_t window = open({.area = {0, 0, 9, 9}});
    const std::string huge(100'000'000, 'x');
    client().setTitle(window, huge);
    client().setBytes(window, "WM_CLASS", "STRING", huge);
    client().sync();
    const auto begin = std::chrono::steady_clock::now();
    const WindowInfo info = infoOf(window);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
    EXPECT_EQ(info.title, std::string(4096, 'x'));
    EXPECT_EQ(info.owner, std::string(4096, 'x'));
}

TEST_F(LongNamesTest, LongTitleIsCutAtACharactersEdge) {
    const xcb_window_t window = open({.area = {0, 0, 9, 9}});
    std::string title = "ab";
    while (title.size() < 5000)
        title += "\u20ac";  // three bytes, and two more than a multiple of three fit
    client().setTitle(window, title);
    client().sync();
    EXPECT_EQ(infoOf(window).title, title.substr(0, 2 + 3 * 1364));
}

}  // namespace
