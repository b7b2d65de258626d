/*
 * A container with one stream of video, written as the packets come.
 *
 * The target is opened when the first frame is known whole, and from then on holds a part that can
 * be played at any time: when a write fails, what it has torn is cut off again, and a second Ctrl-C
 * waits until a write is done.
 */
#ifndef CAPMGR_MEDIA_FILE_H
#define CAPMGR_MEDIA_FILE_H

#include <cstdint>

#include "ffmpeg_objects.h"
#include "interruption.h"
#include "recording_format.h"
#include "recording_target.h"

class MediaFile {
  public:
    /* All must outlive this. Throws Failure. */
    MediaFile(const Container& container, const AVCodecContext& encoder, RecordingTarget& target,
              Interruption& interruption);

    /* Takes a packet, which is written when the next one tells how long its picture is shown.
     * Throws Failure, after which nothing else may be called. */
    void write(AVPacket& packet);

    /* Writes what is left, shows the last picture until `end` and closes the target. Does nothing
     * when there was no packet. Throws Failure. */
    void finish(std::int64_t end);

    std::int64_t bytes() const { return size_; }

  private:
    static int writeBytes(void* self, std::uint8_t* bytes, int count);
    static std::int64_t seekBytes(void* self, std::int64_t offset, int whence);

    void showPendingUntil(std::int64_t end);
    void begin();
    void put();
    void check(int result);
    [[noreturn]] void fail(const std::string& reason);
    std::unique_lock<std::mutex> deferral() const;

    const Container& container_;
    const AVCodecContext& encoder_;
    RecordingTarget& target_;
    Interruption& interruption_;
    ByteStream stream_;
    FormatContext format_;  // after the stream that it writes to
    Packet pending_;        // without data: none
    bool begun_ = false;
    int writeError_ = 0;         // errno of the first write that failed
    std::int64_t position_ = 0;  // bytes, as size_ and whole_
    std::int64_t size_ = 0;
    std::int64_t whole_ = 0;  // up to here the target can be played
    double wholeSeconds_ = 0.0;
};

#endif
