/*
 * What a soak did, in order: the last of it is kept, to be shown with what was found wrong. A file
 * gets all of it, and what the library has to say of errors meanwhile.
 */
#pragma once

#include <deque>
#include <fstream>
#include <iosfwd>
#include <mutex>
#include <string>

class Journal {
  public:
    /* Without a path there is no file. Throws std::runtime_error when it cannot be written. */
    explicit Journal(const std::string& path);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    void note(const std::string& line);

    unsigned long operations() const { return operations_; }
    void printTail(std::ostream& out) const;

  private:
    static void takeTrace(void* journal, int level, const char* text, int flag);
    void write(const std::string& line);

    std::mutex mutex_;  // of the file: the library's threads write, too
    std::ofstream file_;
    std::string lastTrace_;
    std::deque<std::string> tail_;
    unsigned long operations_ = 0;
};
