/*
 * Searches for answers about windows that are read past their end, or made into something that
 * cannot be shown.
 *
 * Each answer is in a block of its own, as long as it says, so that the sanitizer sees a byte too
 * many. What it holds may be anything, and it may contradict itself.
 */
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <numeric>

#include "text_rule.h"
#include "x11/extension.h"
#include "x11/property_text.h"
#include "x11/reply_list.h"
#include "x11/window_properties.h"

namespace {

using qor::coregraphics::WindowRole;
using qor::x11::Reply;
using qor::x11::WindowProperties;

void expect(bool holds) {
    if (!holds)
        std::abort();
}

/* The names' atoms are numbers that the protocol has not given away itself. */
std::vector<xcb_atom_t> someAtoms() {
    std::vector<xcb_atom_t> atoms(WindowProperties::names().size());
    std::iota(atoms.begin(), atoms.end(), 100U);
    return atoms;
}

const std::vector<xcb_atom_t>& atoms() {
    static const std::vector<xcb_atom_t> all = someAtoms();
    return all;
}

/* A reply with a body of whole units, of which what is in head is still to be said. */
template <typename T>
Reply<T> replyWith(const std::vector<std::uint8_t>& body) {
    const std::size_t units = (body.size() + 3) / 4;
    static_assert(sizeof(T) == 32);
    auto* const block = static_cast<std::uint8_t*>(std::calloc(1, sizeof(T) + units * 4));
    expect(block != nullptr);
    std::copy(body.begin(), body.end(), block + sizeof(T));
    Reply<T> reply(reinterpret_cast<T*>(block));
    reply->length = static_cast<std::uint32_t>(units);
    return reply;
}

std::vector<std::uint8_t> takeBody(FuzzedDataProvider& input) {
    return input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 80));
}

xcb_atom_t takeType(FuzzedDataProvider& input) {
    const auto known = static_cast<xcb_atom_t>(atoms().size());
    const auto choice = input.ConsumeIntegralInRange<xcb_atom_t>(0, known + 3);
    const xcb_atom_t ofProtocol[]{XCB_ATOM_STRING, XCB_ATOM_ATOM, XCB_ATOM_CARDINAL, XCB_ATOM_NONE};
    return choice < known ? atoms()[choice] : ofProtocol[choice - known];
}

/* Null now and then, as for a window that has gone. */
Reply<xcb_get_property_reply_t> takeAnswer(FuzzedDataProvider& input) {
    if (input.ConsumeIntegralInRange(0, 15) == 0)
        return nullptr;
    const auto body = takeBody(input);
    auto reply = replyWith<xcb_get_property_reply_t>(body);
    reply->type = takeType(input);
    reply->format = input.PickValueInArray<std::uint8_t>({8, 32, 16, 0, 1, 255});
    reply->bytes_after = input.ConsumeBool() ? 1 : 0;
    const bool isHonest = input.ConsumeBool();
    reply->value_len =
        isHonest
            ? static_cast<std::uint32_t>(body.size() / std::max<std::size_t>(reply->format / 8U, 1))
            : input.ConsumeIntegral<std::uint32_t>();
    return reply;
}

/* A list of atoms that mean something, which bytes alone hardly ever make. */
Reply<xcb_get_property_reply_t> takeList(FuzzedDataProvider& input) {
    if (input.ConsumeBool())
        return takeAnswer(input);
    std::vector<xcb_atom_t> list(input.ConsumeIntegralInRange<std::size_t>(0, 6));
    std::ranges::generate(list, [&input] { return takeType(input); });
    std::vector<std::uint8_t> body(list.size() * sizeof(xcb_atom_t));
    std::copy_n(reinterpret_cast<const std::uint8_t*>(list.data()), body.size(), body.begin());
    auto reply = replyWith<xcb_get_property_reply_t>(body);
    reply->type = XCB_ATOM_ATOM;
    reply->format = 32;
    reply->value_len = static_cast<std::uint32_t>(list.size());
    return reply;
}

std::size_t sizeOf(const xcb_get_property_reply_t* reply) {
    return reply == nullptr ? 0 : std::size_t{reply->length} * 4;
}

/* A byte becomes three at most, those of U+FFFD. */
void expectShowable(const std::string& text, std::size_t bytes) {
    expect(isOneLine(text) && text.size() <= 3 * bytes);
}

void describe(FuzzedDataProvider& input) {
    const WindowProperties properties(atoms());
    const auto first = takeAnswer(input);
    const auto second = takeAnswer(input);
    expectShowable(properties.application(first.get()), sizeOf(first.get()));
    expectShowable(properties.title(first.get(), second.get()),
                   std::max(sizeOf(first.get()), sizeOf(second.get())));
    expect(properties.processId(first.get()) >= 0);
    const double opacity = properties.opacity(first.get(), second.get());
    expect(opacity >= 0 && opacity <= 1);
    const auto types = takeList(input);
    const auto states = takeList(input);
    const WindowRole managed = properties.role(types.get(), states.get(), false);
    const WindowRole unmanaged = properties.role(types.get(), states.get(), true);
    const bool isOrdinary = managed == WindowRole::normal || managed == WindowRole::floating;
    expect(unmanaged == (isOrdinary ? WindowRole::popup : managed));
}

void listChildren(FuzzedDataProvider& input) {
    const auto body = takeBody(input);
    const auto tree = replyWith<xcb_query_tree_reply_t>(body);
    tree->children_len = input.ConsumeIntegral<std::uint16_t>();
    const auto children = qor::x11::childrenIn(*tree);
    expect(children.size() == std::min<std::size_t>(tree->children_len, (body.size() + 3) / 4));
    expect(std::equal(children.begin(), children.end(),
                      reinterpret_cast<const xcb_window_t*>(tree.get() + 1)));
}

/* What can be shown as it is stays as it is. */
void showText(FuzzedDataProvider& input) {
    using qor::x11::TextEncoding;
    const auto encoding =
        input.PickValueInArray({TextEncoding::utf8, TextEncoding::compound, TextEncoding::latin1});
    const bool isCut = input.ConsumeBool();
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    const std::string text = qor::x11::readableText(bytes, encoding, isCut);
    expectShowable(text, bytes.size());
    if (encoding == TextEncoding::utf8 && isOneLine(bytes))
        expect(text == bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    describe(input);
    listChildren(input);
    showText(input);
    return 0;
}
