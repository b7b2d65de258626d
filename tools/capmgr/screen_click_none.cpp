#include "failure.h"
#include "screen_click.h"

struct ScreenClick::Grab {};

ScreenClick::ScreenClick() {
    throw Failure("windows cannot be picked by a click on this system; see 'capmgr windows'");
}

ScreenClick::~ScreenClick() = default;

ScreenPoint ScreenClick::await(const Interruption& /*interruption*/) const {
    return {};
}
