// The standard streams and their buffers as on macOS.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

TEST(Stream, StandardOnesHaveTheirDescriptors) {
    EXPECT_EQ(fileno(stdin), 0);
    EXPECT_EQ(fileno(stdout), 1);
    EXPECT_EQ(fileno(stderr), 2);
}

class TemporaryStream : public testing::Test {
  protected:
    TemporaryStream() : stream_(std::tmpfile()) { EXPECT_NE(stream_, nullptr); }
    ~TemporaryStream() override { std::fclose(stream_); }

    FILE* stream_;
};

TEST_F(TemporaryStream, GivesBackWhatWasPrinted) {
    EXPECT_EQ(std::fprintf(stream_, "%d %s %.1f\n", 7, "seven", 7.0), 12);
    EXPECT_EQ(std::fseek(stream_, 2, SEEK_SET), 0);
    std::array<char, 16> text{};
    EXPECT_NE(std::fgets(text.data(), text.size(), stream_), nullptr);
    EXPECT_STREQ(text.data(), "seven 7.0\n");
    EXPECT_EQ(std::ftell(stream_), 12);
    EXPECT_EQ(std::fgetc(stream_), EOF);
    EXPECT_NE(std::feof(stream_), 0);
}

TEST_F(TemporaryStream, UngottenCharacterComesAgain) {
    std::fputs("xy", stream_);
    std::rewind(stream_);
    EXPECT_EQ(std::getc(stream_), 'x');
    EXPECT_EQ(std::ungetc('z', stream_), 'z');
    EXPECT_EQ(std::getc(stream_), 'z');
    EXPECT_EQ(std::getc(stream_), 'y');
}

TEST_F(TemporaryStream, SetBufferIsNotOverrun) {
    std::array<char, BUFSIZ + 16> buffer{};
    std::setbuf(stream_, buffer.data());
    const std::string text(size_t{3} * BUFSIZ, 'x');
    EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), stream_), text.size());
    EXPECT_EQ(buffer[BUFSIZ], '\0');
    std::setbuf(stream_, nullptr);
}

TEST(Stream, FileThatIsNotThereIsNotOpened) {
    errno = 0;
    EXPECT_EQ(std::fopen("/nowhere/at/all", "r"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

}  // namespace
