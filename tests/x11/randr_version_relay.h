/*
 * Stands between a test's server and its clients, and has the server behave as if its RandR were
 * older than it is.
 */
#pragma once

#include <cstdint>
#include <string>

#include "display_relay.h"

class RandrVersionRelay {
  public:
    /* serverSocket is the path of the server's local socket; the version is 1.minor. */
    RandrVersionRelay(const std::string& serverSocket, std::uint8_t minor);

    /* What to set DISPLAY to. */
    std::string display() const { return relay_.display(); }

  private:
    DisplayRelay relay_;
};
