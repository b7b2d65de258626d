/** @class CCaptureScaling
 * Brings a captured frame to the delivered size; a copy when the sizes agree,
 * bilinear interpolation when they differ. Pixels are 4 bytes.
 *
 * Threads: no lock of its own; the owner serialises its calls.
 */
#ifndef QOR_CONF_CAPTURESCALING_H
#define QOR_CONF_CAPTURESCALING_H

#include <cstdint>

#include "CaptureManager.h"

class CAPMGR_API CCaptureScaling {
  public:
    /** How Resize makes a frame. RefreshScalingAlg chooses between the first and the fourth. */
    enum ScalingAlg : int32_t {
        SCALING_COPY_ORIGINAL = 0,
        SCALING_COPY_FINAL = 1,
        SCALING_COPY_ORIGINAL_ALT = 2,
        SCALING_BILINEAR = 3,
        SCALING_DOWNSAMPLING = 4,
    };

    CCaptureScaling();
    ~CCaptureScaling();

    /** Sets source and target size in pixels and chooses the algorithm. Always true. */
    bool Initialize(tag_Capture_SIZE szInput, tag_Capture_SIZE szOutput);
    /** Does nothing. Always true. */
    bool UnInitialize();
    /** Does nothing. */
    void DestroyDxva();

    /** Chooses the algorithm and the delivered size from the two sizes; returns the algorithm. */
    int32_t RefreshScalingAlg();

    /**
     * Scales the frame at pSrc, source height rows of nSrcPitch bytes, into pDst, packed rows of
     * the delivered size. False for a null pointer or a pitch of 0, true otherwise.
     */
    bool Resize(const unsigned char* pSrc, uint32_t nSrcPitch, unsigned char* pDst);

    /**
     * Copies the upper left szDst pixels of nSrcHeight rows of nSrcPitch bytes into packed rows.
     * A target wider or higher than the source is refused with a trace; a null pointer copies
     * nothing.
     */
    void CopyData(const unsigned char* pSrc, uint32_t nSrcPitch, uint32_t nSrcHeight,
                  unsigned char* pDst, tag_Capture_SIZE szDst);

    /** The size in pixels at which frames are delivered. */
    CAP_SIZE GetCapFrameSize() const { return m_sCapFrameSize; }

  protected:
    /**
     * Makes the frame at pDst the way nScalingAlg says, a ScalingAlg; any other value makes
     * nothing. For a backend that wants one of the ways that RefreshScalingAlg never chooses. The
     * arguments are those of Resize, already checked.
     */
    void RunScalingAlg(int32_t nScalingAlg, const unsigned char* pSrc, uint32_t nSrcPitch,
                       unsigned char* pDst);

  private:
    CAP_SIZE m_sOriFrameSize{};
    CAP_SIZE m_sFinalFrameSize{};
    CAP_SIZE m_sCapFrameSize{};
    int32_t m_nScalingAlg;
};

#endif
