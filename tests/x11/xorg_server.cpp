#include "xorg_server.h"

#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace {

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

ServerProgram XorgServer::start(const std::filesystem::path& directory) {
    const std::filesystem::path configuration = directory / "xorg.conf";
    std::ofstream(configuration) << kConfiguration;
    return ServerProgram({xorgProgram(), "-config", configuration, "-logfile", directory / "log"},
                         {});
}

XephyrServer::XephyrServer(const std::string& screen)
    : program_({"Xephyr", "-screen", screen}, {{"DISPLAY", host_.display()}}) {}
