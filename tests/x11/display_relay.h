/*
 * Stands between a test's server and its clients, passes on what they send each other, and counts
 * it.
 *
 * It runs on a thread of its own from the constructor to the destructor. Open files are passed on
 * like bytes, so shared memory works through it. Errors throw std::runtime_error.
 */
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class DisplayRelay {
  public:
    /* Changes what clients are about to send; called on the relay's thread. */
    using Edit = std::function<void(std::span<std::uint8_t>)>;

    /* Bytes that were passed on. */
    struct Traffic {
        std::size_t fromClients = 0;
        std::size_t fromServer = 0;
    };

    /* serverSocket is the path of the server's local socket. */
    explicit DisplayRelay(const std::string& serverSocket, Edit edit = {});
    ~DisplayRelay();
    DisplayRelay(const DisplayRelay&) = delete;
    DisplayRelay& operator=(const DisplayRelay&) = delete;

    /* What to set DISPLAY to. */
    std::string display() const { return ":" + std::to_string(number_); }

    /* Up to now, with all that clients had sent before the call. */
    Traffic traffic();

    /* Passes nothing on from here on, or nothing that the server sends, until resume(). */
    void hold();
    void holdReplies();
    void resume();

  private:
    /* An open file, closed with the object. */
    class Descriptor {
      public:
        explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
        Descriptor(Descriptor&& other) noexcept
            : descriptor_(std::exchange(other.descriptor_, -1)) {}
        Descriptor& operator=(Descriptor&& other) noexcept {
            std::swap(descriptor_, other.descriptor_);
            return *this;
        }
        ~Descriptor();

        int get() const { return descriptor_; }

      private:
        int descriptor_;
    };
    struct Client {
        Descriptor own;
        Descriptor server;  // the connection made for it
    };
    /* What was read at once. */
    struct Piece {
        std::span<std::uint8_t> bytes;
        std::vector<Descriptor> files;
    };

    void listenAsDisplay();
    void run();
    bool answer();
    void tell(char order);
    void takeClient();
    void passOnAll(std::span<const short> ready);
    bool passOn(const Descriptor& from, const Descriptor& to, std::size_t& count, bool fromClient);
    static Piece read(const Descriptor& from, std::span<std::uint8_t> buffer);
    static bool write(const Descriptor& to, const Piece& piece);

    std::string serverSocket_;
    Edit edit_;
    int number_ = 0;
    Descriptor listener_;
    Descriptor orders_;  // the thread's end
    Descriptor giving_;  // closed to stop
    std::vector<Client> clients_;
    bool holds_ = false;
    bool holdsReplies_ = false;
    std::mutex mutex_;
    std::condition_variable obeyed_;
    unsigned given_ = 0;  // orders
    unsigned done_ = 0;
    Traffic traffic_;
    std::thread thread_;
};
