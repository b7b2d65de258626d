#include "xvfb_server.h"

namespace {

std::vector<std::string> commandLine(const std::string& screen,
                                     const std::vector<std::string>& extraArguments) {
    std::vector<std::string> command{"Xvfb", "-screen", "0", screen};
    command.insert(command.end(), extraArguments.begin(), extraArguments.end());
    return command;
}

}  // namespace

XvfbServer::XvfbServer(const std::string& screen, std::vector<std::string> extraArguments)
    : program_(commandLine(screen, extraArguments), {}) {}
