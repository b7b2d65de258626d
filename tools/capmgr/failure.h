/*
 * What ends a command early: the one line that the user is to read, and the exit status.
 *
 * Thrown where the fault is detected and caught once, in main. Nothing else writes error lines.
 */
#ifndef CAPMGR_FAILURE_H
#define CAPMGR_FAILURE_H

#include <stdexcept>
#include <string>

enum class ExitStatus : int {
    Success = 0,
    Failed = 1,    // well asked, but this machine cannot do it
    BadUsage = 2,  // asked for something that makes no sense anywhere
};

class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& line, ExitStatus status = ExitStatus::Failed)
        : std::runtime_error(line), status_(status) {}

    ExitStatus status() const { return status_; }

  private:
    ExitStatus status_;
};

#endif
