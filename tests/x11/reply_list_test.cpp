/* Replies that contradict themselves: no more of a list is taken than was sent. */
#include "x11/reply_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "x11/extension.h"
#include "x11/property.h"

namespace {

using qor::x11::Reply;

constexpr std::uint32_t kFarTooMany = 0x40000001;

/* With a body of these numbers, and not a byte more, so that a checker of addresses notices. */
template <typename T>
Reply<T> replyWith(const std::vector<std::uint32_t>& body) {
    auto* const block =
        static_cast<std::uint32_t*>(std::calloc(1, sizeof(T) + body.size() * sizeof body[0]));
    std::ranges::copy(body, block + sizeof(T) / sizeof body[0]);
    Reply<T> reply(reinterpret_cast<T*>(block));
    reply->length = static_cast<std::uint32_t>(body.size());
    return reply;
}

Reply<xcb_get_property_reply_t> property(std::uint8_t format, std::uint32_t length,
                                         const std::vector<std::uint32_t>& body) {
    auto reply = replyWith<xcb_get_property_reply_t>(body);
    reply->type = XCB_ATOM_ATOM;
    reply->format = format;
    reply->value_len = length;
    return reply;
}

TEST(ReplyListTest, PropertyLongerThanItsReplyEndsWithTheReply) {
    EXPECT_EQ(qor::x11::bytesIn(property(8, kFarTooMany, {0x64636261}).get()), "abcd");
    EXPECT_EQ(qor::x11::atomsIn(property(32, kFarTooMany, {7, 8}).get()).size(), 2U);
    EXPECT_EQ(qor::x11::singleValueIn(property(32, 1, {}).get()), std::nullopt);
}

TEST(ReplyListTest, PropertyShorterThanItsReplyEndsWhereItSays) {
    EXPECT_EQ(qor::x11::bytesIn(property(8, 3, {0x64636261}).get()), "abc");
    EXPECT_EQ(qor::x11::singleValueIn(property(32, 1, {7, 8}).get()), 7U);
}

TEST(ReplyListTest, PropertyOfAnotherFormatHasNoValues) {
    for (const int format : {0, 1, 16, 255}) {
        const auto reply = property(static_cast<std::uint8_t>(format), 1, {7});
        EXPECT_TRUE(qor::x11::bytesIn(reply.get()).empty()) << format;
        EXPECT_TRUE(qor::x11::atomsIn(reply.get()).empty()) << format;
    }
}

TEST(ReplyListTest, MoreChildrenThanWereSentAreNotThere) {
    const auto tree = replyWith<xcb_query_tree_reply_t>({7, 8, 9});
    tree->children_len = 65535;
    EXPECT_TRUE(std::ranges::equal(qor::x11::childrenIn(*tree), std::vector{7U, 8U, 9U}));
}

TEST(ReplyListTest, ListThatWouldBeginPastTheEndIsEmpty) {
    const auto reply = replyWith<xcb_query_tree_reply_t>({});
    EXPECT_TRUE(qor::x11::listIn(*reply, xcb_query_tree_children(reply.get()) + 3, 5).empty());
}

}  // namespace
