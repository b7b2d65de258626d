#include "display_relay.h"

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
#include <stdexcept>

namespace {

constexpr std::size_t kMostFiles = 16;  // that a client sends at once
constexpr int kNobody = -1;             // whom poll() does not wait for

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

/* A message with room for open files beside its bytes. */
class Message {
  public:
    explicit Message(std::span<std::uint8_t> bytes) : bytes_{bytes.data(), bytes.size()} {
        header_.msg_iov = &bytes_;
        header_.msg_iovlen = 1;
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    msghdr* get() { return &header_; }
    void makeRoomForFiles() {
        header_.msg_control = control_.data();
        header_.msg_controllen = control_.size();
    }
    void put(std::span<const int> files) {
        makeRoomForFiles();
        header_.msg_controllen = CMSG_SPACE(files.size_bytes());
        cmsghdr* const control = CMSG_FIRSTHDR(&header_);
        if (control == nullptr)  // which there is room for
            return;
        control->cmsg_level = SOL_SOCKET;
        control->cmsg_type = SCM_RIGHTS;
        control->cmsg_len = CMSG_LEN(files.size_bytes());
        std::memcpy(CMSG_DATA(control), files.data(), files.size_bytes());
    }
    std::vector<int> files() {
        const cmsghdr* control = CMSG_FIRSTHDR(&header_);
        if (control == nullptr || control->cmsg_type != SCM_RIGHTS)
            return {};
        std::vector<int> files((control->cmsg_len - CMSG_LEN(0)) / sizeof(int));
        std::memcpy(files.data(), CMSG_DATA(control), files.size() * sizeof(int));
        return files;
    }

  private:
    iovec bytes_;
    msghdr header_{};
    alignas(cmsghdr) std::array<std::uint8_t, CMSG_SPACE(kMostFiles * sizeof(int))> control_{};
};

}  // namespace

DisplayRelay::Descriptor::~Descriptor() {
    if (descriptor_ != -1)
        close(descriptor_);
}

DisplayRelay::DisplayRelay(const std::string& serverSocket, Edit edit)
    : serverSocket_(serverSocket), edit_(std::move(edit)), listener_(newSocket()) {
    listenAsDisplay();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    orders_ = Descriptor(ends[0]);
    giving_ = Descriptor(ends[1]);
    thread_ = std::thread([this] { run(); });
}

DisplayRelay::~DisplayRelay() {
    giving_ = Descriptor();
    thread_.join();
}

void DisplayRelay::listenAsDisplay() {
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

DisplayRelay::Traffic DisplayRelay::traffic() {
    tell('t');
    const std::lock_guard lock(mutex_);
    return traffic_;
}

void DisplayRelay::hold() {
    tell('h');
}

void DisplayRelay::holdReplies() {
    tell('s');
}

void DisplayRelay::resume() {
    tell('r');
}

/* Returns when the thread has done so. */
void DisplayRelay::tell(char order) {
    std::unique_lock lock(mutex_);
    const unsigned number = ++given_;
    if (::write(giving_.get(), &order, 1) != 1)
        throw std::runtime_error(std::string("the relay takes no orders: ") + std::strerror(errno));
    obeyed_.wait(lock, [&] { return done_ == number; });
}

void DisplayRelay::run() {
    for (;;) {
        std::vector<pollfd> entries{{orders_.get(), POLLIN, 0}};
        if (!holds_) {
            entries.push_back({listener_.get(), POLLIN, 0});
            for (const Client& client : clients_) {
                entries.push_back({client.own.get(), POLLIN, 0});
                entries.push_back({holdsReplies_ ? kNobody : client.server.get(), POLLIN, 0});
            }
        }
        if (poll(entries.data(), entries.size(), -1) < 0)
            return;
        std::vector<short> ready;
        for (std::size_t i = 2; i < entries.size(); ++i)
            ready.push_back(entries[i].revents);
        passOnAll(ready);
        if (entries.size() > 1 && entries[1].revents != 0)
            takeClient();
        // After the clients: what they had sent before the order was given was there to be read.
        if (entries[0].revents != 0 && !answer())
            return;
    }
}

/* False when there will be no more orders. */
bool DisplayRelay::answer() {
    char order = 0;
    if (::read(orders_.get(), &order, 1) != 1)
        return false;
    if (order != 't') {
        holds_ = order == 'h';
        holdsReplies_ = order == 's';
    }
    const std::lock_guard lock(mutex_);
    ++done_;
    obeyed_.notify_one();
    return true;
}

void DisplayRelay::takeClient() {
    Client client{Descriptor(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)),
                  Descriptor(newSocket())};
    const Address address = addressOf(serverSocket_);
    if (connect(client.server.get(), address.get(), address.size) == 0)
        clients_.push_back(std::move(client));
}

/* Two for each client: what it sends, and what it is sent. */
void DisplayRelay::passOnAll(std::span<const short> ready) {
    for (std::size_t i = ready.size() / 2; i-- > 0;) {
        const Client& client = clients_[i];
        const bool isOver =
            (ready[2 * i] != 0 && !passOn(client.own, client.server, traffic_.fromClients, true)) ||
            (ready[2 * i + 1] != 0 &&
             !passOn(client.server, client.own, traffic_.fromServer, false));
        if (isOver)
            clients_.erase(clients_.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

/* False once either side has gone. */
bool DisplayRelay::passOn(const Descriptor& from, const Descriptor& to, std::size_t& count,
                          bool fromClient) {
    std::array<std::uint8_t, 65536> buffer;
    const Piece piece = read(from, buffer);
    if (piece.bytes.empty())
        return false;
    if (fromClient && edit_)
        edit_(piece.bytes);
    {
        const std::lock_guard lock(mutex_);
        count += piece.bytes.size();
    }
    return write(to, piece);
}

/* Without any bytes, at the end. */
DisplayRelay::Piece DisplayRelay::read(const Descriptor& from, std::span<std::uint8_t> buffer) {
    Message message(buffer);
    message.makeRoomForFiles();
    const ssize_t length = recvmsg(from.get(), message.get(), MSG_CMSG_CLOEXEC);
    if (length <= 0)
        return {};
    Piece piece{buffer.first(static_cast<std::size_t>(length)), {}};
    for (const int file : message.files())
        piece.files.emplace_back(file);
    return piece;
}

bool DisplayRelay::write(const Descriptor& to, const Piece& piece) {
    std::vector<int> files;
    for (const Descriptor& file : piece.files)
        files.push_back(file.get());
    std::span<std::uint8_t> bytes = piece.bytes;
    while (!bytes.empty()) {
        Message message(bytes);
        if (!files.empty())
            message.put(files);
        const ssize_t written = sendmsg(to.get(), message.get(), MSG_NOSIGNAL);
        if (written <= 0)
            return false;
        files.clear();  // with the first byte, as they came
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}
