/*
 * The smallest host, in C: captures the primary monitor until a frame comes, then tells its size
 * and how bright it is.
 */
#define _POSIX_C_SOURCE 200809L /* nanosleep */
#include <stdio.h>
#include <time.h>

#include "CaptureManager.h"

/* Mean of the blue, green and red bytes, 0 to 255. */
static double brightness(const CAP_DESKTOP_DATA* frame) {
    double sum = 0.0;
    for (uint32_t byte = 0; byte < frame->dwDataLen; byte += 4) {
        sum += frame->pData[byte] + frame->pData[byte + 1] + frame->pData[byte + 2];
    }
    return sum / (frame->dwDataLen / 4.0 * 3.0);
}

/* True once a frame was there. A screen of one colour is held back for about a second. */
static bool reportFrame(unsigned int capture) {
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(capture);
    if (frame.pData == NULL) {
        return false;
    }
    printf("%u x %u pixels, brightness %.1f\n", frame.dwWidth, frame.dwHeight, brightness(&frame));
    CapMgr_UnlockScreenBuffer(capture);
    return true;
}

int main(void) {
    const struct timespec pause = {0, 20 * 1000 * 1000};
    const unsigned int capture = CapMgr_GenerateCaptureIndex();
    if (CapMgr_StartCapture(capture, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                            CAP_TYPE_DESKTOP, 0, PARALLEL_CAPTURE_MODE) != 0) {
        fprintf(stderr, "host: the capture did not start\n");
        return 1;
    }
    bool done = false;
    for (int attempt = 0; attempt < 250 && !done; ++attempt) {
        nanosleep(&pause, NULL);
        done = reportFrame(capture);
    }
    CapMgr_StopCapture(capture, 0);
    if (!done) {
        fprintf(stderr, "host: no frame came\n");
    }
    return done ? 0 : 1;
}
