/* What a command captures: the options, held against what this machine has. */
#ifndef CAPMGR_CAPTURE_CHOICE_H
#define CAPMGR_CAPTURE_CHOICE_H

#include "CaptureManager.h"
#include "capture_options.h"
#include "capture_session.h"
#include "commands.h"

struct CaptureChoice {
    CAP_MONITOR_INFO monitor{};
    CaptureSettings settings;
};

/*
 * Throws Failure, which says what is possible, when there is no such monitor, it is smaller than
 * the size asked for, or the window to capture is not on screen. A window to leave out that is not
 * there is noted on standard error, no more: it cannot be in the picture either, and is left out
 * should it come. Windows that are to be clicked are waited for last.
 */
CaptureChoice chooseCapture(const CaptureOptions& options, const Environment& environment);

#endif
