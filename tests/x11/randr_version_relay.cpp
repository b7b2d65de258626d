#include "randr_version_relay.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace {

/* Lowers the version that a client says it knows: the server gives the lower one of both. The
 * request is an opcode of the server's choice, then 0, its length, and the version's two numbers.
 */
void lowerVersion(std::span<std::uint8_t> bytes, std::uint8_t minor) {
    constexpr std::array<std::uint8_t, 7> kVersionOne{0, 3, 0, 1, 0, 0, 0};
    const auto found =
        std::search(bytes.begin(), bytes.end(), kVersionOne.begin(), kVersionOne.end());
    const auto toMinor = static_cast<std::ptrdiff_t>(kVersionOne.size());
    if (bytes.end() - found <= toMinor)
        return;
    found[toMinor] = std::min(found[toMinor], minor);
}

}  // namespace

RandrVersionRelay::RandrVersionRelay(const std::string& serverSocket, std::uint8_t minor)
    : relay_(serverSocket, [minor](std::span<std::uint8_t> bytes) { lowerVersion(bytes, minor); }) {
}
