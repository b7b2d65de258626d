/*
 * A program under test as a child of its own: started with a chosen display and directory, its
 * output collected, ended when the object goes away.
 */
#ifndef TESTS_TOOLS_CHILD_PROCESS_H
#define TESTS_TOOLS_CHILD_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/* What the standard output of a child is. */
enum class OutputKind { Pipe, Terminal, FullDisk };

struct ChildSetup {
    std::vector<std::string> command;  // program and arguments
    std::string display;               // empty: no DISPLAY
    std::filesystem::path directory;   // to start in
    OutputKind output = OutputKind::Pipe;
};

struct ChildResult {
    int status = -1;  // exit status, or 128 and the signal that ended it
    std::string output;
    std::string errors;
};

class ChildProcess {
  public:
    /* Throws std::system_error when no process can be made. */
    explicit ChildProcess(const ChildSetup& setup);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void send(int signal) const;

    /* True once the output holds text; false when the child ends or the time runs out first. */
    bool awaitOutput(const std::string& text);

    /* The same for any condition on all of the output so far. */
    bool awaitOutput(const std::function<bool(const std::string&)>& isReached);

    /* Gives up the reading end of the child's output. */
    void closeOutput();

    /* Waits for the end, a minute at most. */
    ChildResult finish();

  private:
    void becomeProgram(const ChildSetup& setup, int output, int errors) const;
    bool readSome(std::chrono::steady_clock::time_point deadline);
    int reap();

    pid_t child_ = -1;
    int output_ = -1;  // reading ends; -1 once at their end
    int errors_ = -1;
    ChildResult result_;
};

/* Runs the program to its end. */
ChildResult runToEnd(const ChildSetup& setup);

#endif
