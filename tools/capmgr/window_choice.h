/* Which windows a capture shows. */
#ifndef CAPMGR_WINDOW_CHOICE_H
#define CAPMGR_WINDOW_CHOICE_H

#include "options.h"

/*
 * Looks for the windows that the options name among those on screen. Throws Failure when the one to
 * capture is not there. One to leave out that is not there is noted on standard error, no more: it
 * cannot be in the picture either, and is left out should it come.
 */
void checkWindows(const Options& options);

#endif
