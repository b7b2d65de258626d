#include "xorg_server.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace {

constexpr std::chrono::seconds kStartBound{30};

// Input devices would be the machine's own. The frequencies let every mode pass.
constexpr const char* kConfiguration = R"(
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoEnableDevices" "false"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "device"
    Driver "dummy"
    VideoRam 65536
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 1.0-2000.0
    VertRefresh 1.0-1000.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "device"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Modes "1024x768"
    EndSubSection
EndSection
)";

/* The server itself: the command of that name may be a wrapper that asks for a console, and takes
 * configurations from root alone. */
std::string xorgProgram() {
    const std::string behindTheWrapper = "/usr/lib/xorg/Xorg";
    return access(behindTheWrapper.c_str(), X_OK) == 0 ? behindTheWrapper : "Xorg";
}

std::string contentsOf(const std::filesystem::path& path) {
    std::ostringstream contents;
    contents << std::ifstream(path).rdbuf();
    return contents.str();
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = std::filesystem::temp_directory_path() / "x-server-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ServerProgram::ServerProgram(std::vector<std::string> command,
                             const std::map<std::string, std::string>& environment) {
    // The one file that the server inherits, for it to write its number into.
    const std::filesystem::path numberFile = directory_.path() / "number";
    const int numberEnd = open(numberFile.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (numberEnd == -1)
        throw std::system_error(errno, std::generic_category(), numberFile);
    // Without -noreset, a server forgets how it was arranged when its last client leaves.
    command.insert(command.end(),
                   {"-displayfd", std::to_string(numberEnd), "-noreset", "-nolisten", "tcp"});
    const std::string name = command.front();
    program_ = std::make_unique<ChildProgram>(std::move(command), environment);
    close(numberEnd);
    const auto deadline = std::chrono::steady_clock::now() + kStartBound;
    while (!number_.ends_with('\n')) {
        if (program_->hasEnded() || std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("the test needs " + name +
                                     ", which did not start: " + program_->output());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        number_ = contentsOf(numberFile);
    }
    number_.pop_back();
}

ServerProgram XorgServer::start(const std::filesystem::path& directory) {
    const std::filesystem::path configuration = directory / "xorg.conf";
    std::ofstream(configuration) << kConfiguration;
    return ServerProgram({xorgProgram(), "-config", configuration, "-logfile", directory / "log"},
                         {});
}

XephyrServer::XephyrServer(const std::string& screen)
    : program_({"Xephyr", "-screen", screen}, {{"DISPLAY", host_.display()}}) {}
