#include "refusing_relay.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

constexpr std::uint8_t kNoRequest = 255;
constexpr std::uint8_t kSetupOfThisByteOrder = 'l';

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};

std::uint8_t opcodeOf(const char* extension, const std::string& display) {
    const std::unique_ptr<xcb_connection_t, Disconnect> connection(
        xcb_connect(display.c_str(), nullptr));
    const auto cookie = xcb_query_extension(
        connection.get(), static_cast<std::uint16_t>(std::strlen(extension)), extension);
    const std::unique_ptr<xcb_query_extension_reply_t, Free> reply(
        xcb_query_extension_reply(connection.get(), cookie, nullptr));
    if (reply == nullptr || reply->present == 0)
        throw std::runtime_error(std::string("the server has no ") + extension);
    return reply->major_opcode;
}

std::size_t wordAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
    std::uint16_t word = 0;
    std::memcpy(&word, &bytes[offset], sizeof word);
    return word;
}

}  // namespace

RefusingRelay::RefusingRelay(const XvfbServer& server, const Requests& requests)
    : requests_(requests),
      opcode_(opcodeOf(requests.extension, server.display())),
      relay_(server.socketPath(), [this](std::span<std::uint8_t> bytes) { spoil(bytes); }) {}

/* Clients send whole requests at once, and those that are spoiled here are sent before anything
 * that is too long to be read at once. The first thing a client sends is no request. */
void RefusingRelay::spoil(std::span<std::uint8_t> bytes) {
    constexpr std::size_t kHeader = 4;  // opcode, number, and the length in words
    if (!refuses_ || bytes[0] == kSetupOfThisByteOrder)
        return;
    while (bytes.size() >= kHeader) {
        const std::size_t length = wordAt(bytes, 2) * kHeader;
        if (bytes[0] == opcode_ && std::ranges::count(requests_.numbers, bytes[1]) > 0) {
            bytes[1] = kNoRequest;
            ++refusals_;
        }
        if (length == 0 || length > bytes.size())
            return;
        bytes = bytes.subspan(length);
    }
}
