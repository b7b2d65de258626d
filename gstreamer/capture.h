/*
 * The capture manager as the elements of a process use it.
 *
 * Its interface is to be called from one thread at a time, so each call here holds one mutex of the
 * process: for the call itself, never while a frame is held. A call may therefore wait for another
 * element's; the longest is the end of a capture that hangs, 3 s.
 */
#ifndef QOR_GSTREAMER_CAPTURE_H
#define QOR_GSTREAMER_CAPTURE_H

#include <CoreGraphics/CGGeometry.h>

#include <vector>

#include "CaptureManager.h"

struct CaptureSettings {
    unsigned int monitor = 0;
    CAP_SIZE size = {};  // pixels
    unsigned int framesPerSecond = 0;
    unsigned int window = 0;  // shared alone; 0: the whole monitor
    std::vector<unsigned int> excluded;
};

bool operator==(const CaptureSettings& one, const CaptureSettings& other);

/* The monitors as they are now. Virtual ones that a host made are gone afterwards. */
std::vector<CAP_MONITOR_INFO> enumerateMonitors();

CAP_SIZE sizeOf(const CAP_MONITOR_INFO& monitor);

/* Where the monitors of the last enumeration are now, in points, seen from the main one: enough to
 * tell that something changed, and cheaper than enumerating. */
std::vector<CGRect> monitorFrames();

/* A number to capture under. There is no giving it back, so take one for good. */
unsigned int newCaptureIndex();

/* A started capture; it ends with the object, which no frame of it may outlive. */
class Capture {
  public:
    /* Throws Fault. No other capture may run under the index. */
    Capture(unsigned int index, const CaptureSettings& settings);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    unsigned int index() const { return index_; }
    const CaptureSettings& settings() const { return settings_; }

  private:
    unsigned int index_;
    CaptureSettings settings_;
};

/* The newest frame, held still while this lives, which is on one thread. */
class LockedFrame {
  public:
    explicit LockedFrame(const Capture& capture);
    ~LockedFrame();
    LockedFrame(const LockedFrame&) = delete;
    LockedFrame& operator=(const LockedFrame&) = delete;

    /* Whether it is a picture of that size: not before the first one came, and not where the
     * capture manager had to put zeroes in a picture's place. */
    bool isPicture(CAP_SIZE size) const;

    const CAP_DESKTOP_DATA& data() const { return data_; }

  private:
    unsigned int index_;
    CAP_DESKTOP_DATA data_;
};

#endif
