#ifndef CAPMGR_PICTURE_TAKING_H
#define CAPMGR_PICTURE_TAKING_H

#include "capture_session.h"
#include "commands.h"

/* One frame of a capture that is made for it. Throws Failure. */
Frame takePicture(const CaptureSettings& settings, const Environment& environment);

#endif
