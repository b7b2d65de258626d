/** @file */
/** @class CCaptureMac
 * The CoreGraphics backend. Each frame is one image of the monitor's area: the desktop
 * less the excluded windows, or the shared application window. The image's bytes are taken as they
 * are, 32 bits a pixel, rows top-down.
 *
 * Threads: as CCaptureBase says.
 */
#ifndef QOR_CONF_CAPTUREMAC_H
#define QOR_CONF_CAPTUREMAC_H

#include <CoreGraphics/CoreGraphics.h>

#include <cstddef>
#include <cstdint>

#include "CaptureBase.h"

class CAPMGR_API CCaptureMac : public CCaptureBase {
  public:
    /** As CCaptureBase; asks for the display's size in points. */
    CCaptureMac(const CMonitor* monitor, CAP_METHOD method, CAP_TYPE type);
    ~CCaptureMac() override;

    bool DoCapture() override;
    bool Init() override;
    void UnInit() override;

    /** The backend's number: 4. */
    virtual int GetCaptureType();

    /** Repacks the row buffer, rows of the image's own pitch, into the frame buffer, if they fit.
     */
    void ChangeBmpDataTo4BytesAligned();

  protected:
    /** @cond */
    uint32_t m_dwDisplayID;
    unsigned char* m_pRowBuffer; /**< one frame at m_nBytesPerRow; null when rows are packed */
    uint32_t m_nBytesPerRow;
    bool m_bRowsAligned;
    uint32_t m_nCaptureWidth;  /**< points */
    uint32_t m_nCaptureHeight; /**< points */
                               /** @endcond */

  private:
    struct CAPMGR_LOCAL CapturedFrame;

    CAPMGR_LOCAL CGRect CaptureArea() const;
    CAPMGR_LOCAL CGImageRef CreateImage();
    CAPMGR_LOCAL CGImageRef CreateImageWithoutWindows(const std::vector<const void*>& excluded);
    CAPMGR_LOCAL CGImageRef CreateWindowImage();
    CAPMGR_LOCAL std::vector<const void*> ExcludedWindows();
    CAPMGR_LOCAL bool DeliverFrame(CapturedFrame& frame);
    CAPMGR_LOCAL void TraceMisfit(uint32_t width, uint32_t height, uint64_t length) const;
    CAPMGR_LOCAL bool RowsFit() const;
    CAPMGR_LOCAL void ClearFrame();

    size_t m_nRowBufferSize = 0; /**< bytes of the row buffer that Init made; 0: none */
};

/**
 * Writes width x height 4-byte pixels, rows top-down, as a BMP file to path, for diagnosis.
 * bitCount goes into the header as it is; without data, null, only the headers are written.
 *
 * A regular file at path is replaced. Does nothing when path cannot be opened, or is a symbolic
 * link, a pipe or a device, or when the format cannot describe the size: width x height is negative
 * or beyond 1073741810. Where the file cannot be written to its end, because the disk is full or
 * the data ends early, it is removed.
 */
CAPMGR_API void SaveBmp(char* path, unsigned char* data, int width, int height, uint16_t bitCount);

#endif
