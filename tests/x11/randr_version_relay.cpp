#include "randr_version_relay.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <span>
#include <stdexcept>

namespace {

struct Address {
    sockaddr_un value{};
    socklen_t size = 0;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&value); }
};

Address addressOf(const std::string& path) {
    Address address;
    if (path.size() >= sizeof address.value.sun_path)
        throw std::runtime_error("too long for a socket: " + path);
    address.value.sun_family = AF_UNIX;
    std::ranges::copy(path, address.value.sun_path);
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    return address;
}

/* Where clients look first for the display of a number: a name that is no file's. */
Address addressOf(int displayNumber) {
    return addressOf(std::string(1, '\0') + "/tmp/.X11-unix/X" + std::to_string(displayNumber));
}

int newSocket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

bool writeAll(int descriptor, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

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

RandrVersionRelay::Descriptor::~Descriptor() {
    if (descriptor_ != -1)
        close(descriptor_);
}

RandrVersionRelay::RandrVersionRelay(const std::string& serverSocket, std::uint8_t minor)
    : serverSocket_(serverSocket), minor_(minor), listener_(newSocket()) {
    listenAsDisplay();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    stopReadEnd_ = Descriptor(ends[0]);
    stopWriteEnd_ = Descriptor(ends[1]);
    thread_ = std::thread([this] { run(); });
}

RandrVersionRelay::~RandrVersionRelay() {
    stopWriteEnd_ = Descriptor();
    thread_.join();
}

void RandrVersionRelay::listenAsDisplay() {
    constexpr int kFirstNumber = 40000;  // servers take the lowest that is free
    constexpr int kLastNumber = 41000;
    for (number_ = kFirstNumber; number_ < kLastNumber; ++number_) {
        const Address address = addressOf(number_);
        if (bind(listener_.get(), address.get(), address.size) == 0)
            break;
    }
    if (listen(listener_.get(), 8) != 0)
        throw std::runtime_error(std::string("listen: ") + std::strerror(errno));
}

void RandrVersionRelay::run() {
    for (;;) {
        std::vector<pollfd> entries{{stopReadEnd_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}};
        for (const Client& client : clients_) {
            entries.push_back({client.own.get(), POLLIN, 0});
            entries.push_back({client.server.get(), POLLIN, 0});
        }
        if (poll(entries.data(), entries.size(), -1) < 0 || entries[0].revents != 0)
            return;
        for (std::size_t i = clients_.size(); i-- > 0;) {
            const Client& client = clients_[i];
            if ((entries[2 + 2 * i].revents != 0 && !passOn(client.own, client.server, true)) ||
                (entries[3 + 2 * i].revents != 0 && !passOn(client.server, client.own, false)))
                clients_.erase(clients_.begin() + static_cast<std::ptrdiff_t>(i));
        }
        if (entries[1].revents != 0)
            takeClient();
    }
}

void RandrVersionRelay::takeClient() {
    Client client{Descriptor(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)),
                  Descriptor(newSocket())};
    const Address address = addressOf(serverSocket_);
    if (connect(client.server.get(), address.get(), address.size) == 0)
        clients_.push_back(std::move(client));
}

/* False once either side has gone. */
bool RandrVersionRelay::passOn(const Descriptor& from, const Descriptor& to,
                               bool fromClient) const {
    std::array<std::uint8_t, 65536> bytes;
    const ssize_t length = read(from.get(), bytes.data(), bytes.size());
    if (length <= 0)
        return false;
    const std::span taken(bytes.data(), static_cast<std::size_t>(length));
    if (fromClient)
        lowerVersion(taken, minor_);
    return writeAll(to.get(), taken);
}
