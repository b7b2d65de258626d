/* An X server as the display server of one thread. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "coregraphics/display_server.h"
#include "x11/connection.h"
#include "x11/image_transport.h"
#include "x11/screen_content.h"
#include "x11/screen_reader.h"
#include "x11/window_descriptions.h"
#include "x11/window_pictures.h"

namespace qor::x11 {

class Session final : public coregraphics::DisplayServer {
  public:
    explicit Session(const char* displayName);

    coregraphics::ServerState refresh() override;
    void abandon() noexcept override;
    std::optional<std::vector<coregraphics::Display>> displays() override;
    std::optional<std::string> displayName(std::uint32_t displayId) override;
    coregraphics::ImageReference grab(const coregraphics::PixelRect& area) override;
    std::optional<std::vector<std::uint32_t>> windowsOnScreen() override;
    std::optional<std::vector<coregraphics::WindowDescription>> windowDescriptions() override;
    coregraphics::ImageReference grabWindows(const coregraphics::PixelRect& area,
                                             const std::vector<std::uint32_t>& windows) override;
    coregraphics::ImageReference grabWindow(const coregraphics::PixelRect& area,
                                            std::uint32_t window) override;

  private:
    Connection connection_;
    ImageTransport transport_{connection_};
    ScreenReader screenReader_{connection_, transport_};
    ScreenContent screenContent_{connection_, screenReader_};
    WindowDescriptions windowDescriptions_{connection_};
    WindowPictures windowPictures_{connection_, transport_, screenReader_};
};

}  // namespace qor::x11
