#include "server_program.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace {

constexpr std::chrono::seconds kStartBound{30};

/* The one file that the server inherits, for it to write its number into. */
class NumberFile {
  public:
    NumberFile() : descriptor_(memfd_create("display number", 0)) {
        if (descriptor_ == -1)
            throw std::system_error(errno, std::generic_category(), "memfd_create");
    }
    ~NumberFile() { close(descriptor_); }
    NumberFile(const NumberFile&) = delete;
    NumberFile& operator=(const NumberFile&) = delete;

    int descriptor() const { return descriptor_; }

    std::string contents() const {
        std::string text(16, '\0');
        const ssize_t length = pread(descriptor_, text.data(), text.size(), 0);
        text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return text;
    }

  private:
    int descriptor_;
};

}  // namespace

ServerProgram::ServerProgram(std::vector<std::string> command,
                             const std::map<std::string, std::string>& environment) {
    const std::string name = command.front();
    const NumberFile numberFile;
    if (!std::ranges::count(command, "-listen"))
        command.insert(command.end(), {"-nolisten", "tcp"});
    // Without -noreset, a server forgets how it was arranged and what was painted when its last
    // client leaves, and is deaf for a moment.
    command.insert(command.end(),
                   {"-displayfd", std::to_string(numberFile.descriptor()), "-noreset"});
    program_ = std::make_unique<ChildProgram>(std::move(command), environment);
    const auto deadline = std::chrono::steady_clock::now() + kStartBound;
    while (!number_.ends_with('\n')) {
        if (program_->hasEnded() || std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("the test needs " + name +
                                     ", which did not start: " + program_->output());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        number_ = numberFile.contents();
    }
    number_.pop_back();
}
