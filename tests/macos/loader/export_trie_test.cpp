#include "export_trie.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "load_error.h"

namespace {

using macho::Bytes;
using macho::Export;
using macho::findExport;

using ByteList = std::vector<uint8_t>;

struct Edge {
    std::string piece;
    size_t node;
};

struct Node {
    ByteList description;
    std::vector<Edge> edges;
};

size_t sizeOf(const Node& node) {
    size_t size = 2 + node.description.size();
    for (const Edge& edge : node.edges) {
        size += edge.piece.size() + 2;
    }
    return size;
}

// The nodes one behind the other; few enough for offsets of one byte.
ByteList trie(const std::vector<Node>& nodes) {
    ByteList offsets = {0};
    for (const Node& node : nodes) {
        offsets.push_back(static_cast<uint8_t>(offsets.back() + sizeOf(node)));
    }
    ByteList bytes;
    for (const Node& node : nodes) {
        bytes.push_back(static_cast<uint8_t>(node.description.size()));
        bytes.insert(bytes.end(), node.description.begin(), node.description.end());
        bytes.push_back(static_cast<uint8_t>(node.edges.size()));
        for (const Edge& edge : node.edges) {
            bytes.insert(bytes.end(), edge.piece.begin(), edge.piece.end());
            bytes.push_back(0);
            bytes.push_back(offsets[edge.node]);
        }
    }
    return bytes;
}

std::optional<Export> findIn(const ByteList& bytes, std::string_view symbol) {
    return findExport(Bytes(bytes.data(), bytes.size(), "the list of exports"), symbol);
}

// "_a" at 0x10, weak "_ab" at 0x1234, absolute "_abs" of 5, "_far" passed on from the second
// library as "_near", "_as" from the first by its own name.
const ByteList kTrie = trie({
    {{}, {{"_", 1}}},
    {{}, {{"a", 2}, {"far", 3}}},
    {{0x00, 0x10}, {{"b", 4}, {"s", 5}}},
    {{0x08, 0x02, '_', 'n', 'e', 'a', 'r', 0}, {}},
    {{0x04, 0xb4, 0x24}, {{"s", 6}}},
    {{0x08, 0x01, 0}, {}},
    {{0x02, 0x05}, {}},
});

TEST(ExportTrie, FindsAPlaceInTheImage) {
    const auto found = findIn(kTrie, "_a");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->kind, Export::Kind::kInImage);
    EXPECT_EQ(found->value, 0x10U);
    EXPECT_FALSE(found->weak);
}

TEST(ExportTrie, TellsAWeakDefinition) {
    const auto found = findIn(kTrie, "_ab");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->value, 0x1234U);
    EXPECT_TRUE(found->weak);
}

TEST(ExportTrie, TellsAnAbsoluteValue) {
    const auto found = findIn(kTrie, "_abs");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->kind, Export::Kind::kAbsolute);
    EXPECT_EQ(found->value, 5U);
}

TEST(ExportTrie, TellsWhereASymbolIsPassedOnFrom) {
    const auto found = findIn(kTrie, "_far");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->kind, Export::Kind::kElsewhere);
    EXPECT_EQ(found->ordinal, 2U);
    EXPECT_EQ(found->symbol, "_near");
}

TEST(ExportTrie, ASymbolThatIsPassedOnKeepsItsNameIfNoneIsGiven) {
    const auto found = findIn(kTrie, "_as");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->ordinal, 1U);
    EXPECT_EQ(found->symbol, "_as");
}

class AbsentSymbol : public testing::TestWithParam<const char*> {};

TEST_P(AbsentSymbol, IsNotFound) {
    EXPECT_FALSE(findIn(kTrie, GetParam()));
}

INSTANTIATE_TEST_SUITE_P(LikeOthers, AbsentSymbol,
                         testing::Values("", "_", "a", "_b", "_f", "_fa", "_fare", "_absent"));

TEST(ExportTrie, ThatIsEmptyHasNothing) {
    EXPECT_FALSE(findIn({}, "_a"));
}

struct BrokenTrie {
    const char* name;
    ByteList bytes;
};

class Broken : public testing::TestWithParam<BrokenTrie> {};

TEST_P(Broken, IsRefused) {
    EXPECT_THROW((void)findIn(GetParam().bytes, "_a"), macho::LoadError);
}

INSTANTIATE_TEST_SUITE_P(Trie, Broken,
                         testing::Values(BrokenTrie{"CutBeforeItsEdges", {0}},
                                         BrokenTrie{"CutInAName", {0, 1, '_', 'a'}},
                                         BrokenTrie{"WithAChildOutside", {0, 1, '_', 'a', 0, 0x7f}},
                                         BrokenTrie{"WithADescriptionOutside", {0x7f, 1}},
                                         BrokenTrie{
                                             "WithAResolver",
                                             trie({{{}, {{"_a", 1}}}, {{0x10, 0x08, 0x10}, {}}})}),
                         [](const auto& each) { return std::string(each.param.name); });

// An edge of no name that leads back to its own node.
TEST(ExportTrie, ThatGoesInCirclesEnds) {
    EXPECT_FALSE(findIn(trie({{{}, {{"", 0}}}}), "_a"));
}

}  // namespace
