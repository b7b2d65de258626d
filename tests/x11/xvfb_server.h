/* A virtual X server of a test's own, never the user's. */
#pragma once

#include <string>
#include <vector>

#include "server_program.h"

class XvfbServer {
  public:
    /* screen is WIDTHxHEIGHTxDEPTH. */
    explicit XvfbServer(const std::string& screen, std::vector<std::string> extraArguments = {});

    /* What to set DISPLAY to, ":5". */
    std::string display() const { return ":" + program_.number(); }

    /* The same over TCP, if the server was told to listen. */
    std::string tcpDisplay() const { return "127.0.0.1:" + program_.number(); }

    /* The path of its local socket. */
    std::string socketPath() const { return "/tmp/.X11-unix/X" + program_.number(); }

    pid_t pid() const { return program_.pid(); }

  private:
    ServerProgram program_;
};
