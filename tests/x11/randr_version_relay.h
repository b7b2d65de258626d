/*
 * Stands between a test's server and its clients, and has the server behave as if its RandR were
 * older than it is.
 *
 * It runs on a thread of its own from the constructor to the destructor. Descriptors are not passed
 * on, so images do not come through it. Errors throw std::runtime_error.
 */
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class RandrVersionRelay {
  public:
    /* serverSocket is the path of the server's local socket; the version is 1.minor. */
    RandrVersionRelay(const std::string& serverSocket, std::uint8_t minor);
    ~RandrVersionRelay();
    RandrVersionRelay(const RandrVersionRelay&) = delete;
    RandrVersionRelay& operator=(const RandrVersionRelay&) = delete;

    /* What to set DISPLAY to. */
    std::string display() const { return ":" + std::to_string(number_); }

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

    void listenAsDisplay();
    void run();
    void takeClient();
    bool passOn(const Descriptor& from, const Descriptor& to, bool fromClient) const;

    std::string serverSocket_;
    std::uint8_t minor_;
    int number_ = 0;
    Descriptor listener_;
    Descriptor stopReadEnd_;
    Descriptor stopWriteEnd_;  // closed to stop
    std::vector<Client> clients_;
    std::thread thread_;
};
