/*
 * Stands between a test's server and its clients, and has the server refuse a kind of request from
 * some moment on.
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "display_relay.h"
#include "xvfb_server.h"

class RefusingRelay {
  public:
    /* What is refused: requests of an extension, by their numbers in it. */
    struct Requests {
        const char* extension;
        std::vector<std::uint8_t> numbers;
    };

    RefusingRelay(const XvfbServer& server, const Requests& requests);

    /* What to set DISPLAY to. */
    std::string display() const { return relay_.display(); }

    void refuse() { refuses_ = true; }

    /* How often the server has. */
    unsigned refusals() const { return refusals_; }

  private:
    void spoil(std::span<std::uint8_t> bytes);

    const Requests requests_;
    const std::uint8_t opcode_;  // of the extension
    std::atomic<bool> refuses_ = false;
    std::atomic<unsigned> refusals_ = 0;
    DisplayRelay relay_;
};
