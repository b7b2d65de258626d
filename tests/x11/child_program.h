/*
 * A program that runs beside a test and ends with it.
 *
 * It is ended by its process id when the object goes, and killed by the system when the thread that
 * started it ends, even if that is killed, so start it from a thread that outlives its use. Not to
 * be shared between threads.
 */
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

class ChildProgram {
  public:
    /* Starts a program found by its name, with some of the environment set otherwise. Throws
     * std::runtime_error if there can be no process; a program that cannot be run says so in its
     * output, and ends. */
    ChildProgram(std::vector<std::string> command,
                 const std::map<std::string, std::string>& environment);

    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    pid_t pid() const { return pid_; }

    bool hasEnded();

    /* What it wrote so far, the beginning of it. */
    std::string output() const;

  private:
    pid_t pid_ = -1;
    int log_ = -1;
};
