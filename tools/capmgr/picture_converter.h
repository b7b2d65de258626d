/*
 * Captured frames in the form that an encoder takes: video in the limited range, or RGB as it is.
 */
#ifndef CAPMGR_PICTURE_CONVERTER_H
#define CAPMGR_PICTURE_CONVERTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "CaptureManager.h"
#include "ffmpeg_objects.h"
#include "frame.h"
#include "recording_format.h"

/* The size that frames of a size are encoded at. Where sides must be even, the last row or column
 * of an odd one is there twice: nothing is cut off, nothing scaled. */
CAP_SIZE encodedSize(const Codec& codec, CAP_SIZE size);

class PictureConverter {
  public:
    /* size: that of all frames. Throws Failure. */
    PictureConverter(const Codec& codec, CAP_SIZE size);

    /* A picture of the converter's, which is not used again while anybody holds a reference to it
     * or it is one of the two newest. Throws Failure when the frame has another size. */
    AVFrame* convert(const Frame& frame);

  private:
    AVFrame* spare();
    const std::uint8_t* evenPixels(const Frame& frame);

    CAP_SIZE size_;
    CAP_SIZE even_;  // what the scaler works at: it reads past the end of rows of odd lengths
    std::vector<std::uint8_t> evenPixels_;
    Scaler scaler_;
    std::array<VideoFrame, 4> pictures_;
    std::size_t next_ = 0;
};

#endif
