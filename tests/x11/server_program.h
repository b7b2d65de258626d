/*
 * An X server of a test's own, as a program.
 *
 * It runs from the constructor to the destructor, on a display number that was free, and listens on
 * a local socket only, unless "-listen", "tcp" is in the command. It ends with the thread that
 * started it, even if that is killed, so start it from a thread that outlives its use. Not to be
 * shared between threads.
 */
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "child_program.h"

class ServerProgram {
  public:
    /* Returns when clients can connect. Throws std::runtime_error, with what the server said, if it
     * does not run; gtest then fails the test. */
    ServerProgram(std::vector<std::string> command,
                  const std::map<std::string, std::string>& environment);

    /* Its display number, "5". */
    const std::string& number() const { return number_; }

    pid_t pid() const { return program_->pid(); }

  private:
    std::unique_ptr<ChildProgram> program_;
    std::string number_;
};
