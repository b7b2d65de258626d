/*
 * The smallest host, in C: lists the monitors, captures the primary one, and reads ten frames.
 *
 * Its exit status is 0 when it has read them, and 1 when there was no monitor, no capture or no
 * frame.
 */
#define _POSIX_C_SOURCE 200809L /* nanosleep */
#include <CaptureManager.h>
#include <stdio.h>
#include <time.h>

enum { kFrames = 10, kFramesPerSecond = 10, kPatienceSeconds = 5 };

/* Returns how many there are. */
static unsigned int listMonitors(void) {
    const unsigned int count = CapMgr_GetMonitorCount();
    for (unsigned int index = 0; index < count; ++index) {
        CAP_MONITOR_INFO monitor;
        if (CapMgr_GetMonitorInfo(index, &monitor)) {
            const tagCaptureRect area = monitor.rcMonitor;
            printf("monitor %u: %s, %d x %d pixels%s\n", index, monitor.cstrName,
                   (int)(area.right - area.left), (int)(area.bottom - area.top),
                   monitor.bPrimary ? ", primary" : "");
        }
    }
    return count;
}

static bool start(unsigned int capture, unsigned int monitor) {
    CapMgr_SetMaxFrameRate(capture, kFramesPerSecond);
    if (CapMgr_StartCapture(capture, monitor, CAP_METHOD_DEFAULT, CAP_TYPE_DESKTOP, 0,
                            PARALLEL_CAPTURE_MODE) != 0) {
        return false;
    }
    /* A capture begins with a few frames a second, whatever its maximum. */
    CapMgr_UpdateFrameRate(capture, kFramesPerSecond);
    return true;
}

/* Mean of the blue, green and red bytes, 0 to 255. A pixel's fourth byte carries no picture. */
static double brightness(const CAP_DESKTOP_DATA* frame) {
    double sum = 0.0;
    for (uint32_t byte = 0; byte < frame->dwDataLen; byte += 4) {
        sum += frame->pData[byte] + frame->pData[byte + 1] + frame->pData[byte + 2];
    }
    return sum / (frame->dwDataLen / 4.0 * 3.0);
}

/* The newest frame is read in place: it stays as it is until it is unlocked. */
static bool readFrame(unsigned int capture, int number) {
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(capture);
    if (frame.pData == NULL) {
        return false; /* none yet, and nothing to unlock */
    }
    printf("frame %d: %u x %u pixels, brightness %.1f\n", number, (unsigned int)frame.dwWidth,
           (unsigned int)frame.dwHeight, brightness(&frame));
    CapMgr_UnlockScreenBuffer(capture);
    return true;
}

/*
 * Nothing tells a new frame from the one before, so frames are read at the rate that was asked for.
 * The first takes about a second on a screen of one colour: such frames are held back at first.
 */
static int readFrames(unsigned int capture) {
    const struct timespec pause = {0, 1000000000L / kFramesPerSecond};
    int frames = 0;
    int misses = 0;
    while (frames < kFrames && misses < kPatienceSeconds * kFramesPerSecond) {
        nanosleep(&pause, NULL);
        if (readFrame(capture, frames + 1)) {
            ++frames;
        } else {
            ++misses;
        }
    }
    return frames;
}

int main(void) {
    if (listMonitors() == 0) {
        fprintf(stderr, "host: there is no monitor, or no display server to ask for one\n");
        return 1;
    }
    const unsigned int capture = CapMgr_GenerateCaptureIndex();
    if (!start(capture, CapMgr_GetPrimaryMonitorIndex())) {
        fprintf(stderr, "host: the capture did not start\n");
        return 1;
    }
    const int frames = readFrames(capture);
    CapMgr_StopCapture(capture, 0);
    if (frames < kFrames) {
        fprintf(stderr, "host: only %d of %d frames came\n", frames, kFrames);
        return 1;
    }
    return 0;
}
