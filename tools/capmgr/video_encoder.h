/* One encoder of the FFmpeg libraries, set up to keep pace with a capture. */
#ifndef CAPMGR_VIDEO_ENCODER_H
#define CAPMGR_VIDEO_ENCODER_H

#include "CaptureManager.h"
#include "ffmpeg_objects.h"
#include "recording_format.h"

class VideoEncoder {
  public:
    /* size: as encodedSize says. Times are in milliseconds where the container has times, in frames
     * elsewhere. Throws Failure when there is no such encoder or it refuses. */
    VideoEncoder(const RecordingFormat& format, CAP_SIZE size, unsigned int framesPerSecond);

    /* Gives it a picture, with the time in its pts, or null: no more come. Throws Failure. */
    void send(const AVFrame* picture);

    /* Takes the next packet out; false when it wants another picture first, or is at its end.
     * Packets come in the order of their pictures. Throws Failure. */
    bool receive(AVPacket& packet);

    const AVCodecContext& context() const { return *context_; }

  private:
    CodecContext context_;
};

#endif
