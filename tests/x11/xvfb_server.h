/*
 * A virtual X server of a test's own, never the user's.
 *
 * It runs from the constructor to the destructor, on a display number that was free, and listens on
 * a local socket only, unless "-listen", "tcp" is among the extra arguments. It ends with the
 * thread that started it, even if that is killed, so start it from a thread that outlives its use.
 * Not to be shared between threads.
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

class XvfbServer {
  public:
    /* screen is WIDTHxHEIGHTxDEPTH. Throws std::runtime_error, with what the server said, if it
     * does not run; gtest then fails the test. */
    explicit XvfbServer(const std::string& screen, std::vector<std::string> extraArguments = {});

    ~XvfbServer();
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    /* What to set DISPLAY to, ":5". */
    std::string display() const { return ":" + number_; }

    /* The same over TCP, if the server was told to listen. */
    std::string tcpDisplay() const { return "127.0.0.1:" + number_; }

    /* The path of its local socket. */
    std::string socketPath() const { return "/tmp/.X11-unix/X" + number_; }

    pid_t pid() const { return pid_; }

  private:
    pid_t pid_ = -1;
    std::string number_;
};
