#include "CaptureScaling.h"

#include "Trace.h"
#include "kxcommon64.h"

namespace {

constexpr char kSourcePath[] = "src/component/captureManager/CaptureScaling";

constexpr uint32_t kBytesPerPixel = 4;

}  // namespace

CCaptureScaling::CCaptureScaling() : m_nScalingAlg(SCALING_COPY_ORIGINAL) {
    CHECKED_CALL(memset_s(&m_sOriFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE)));
    CHECKED_CALL(memset_s(&m_sFinalFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE)));
    CHECKED_CALL(memset_s(&m_sCapFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE)));
}

CCaptureScaling::~CCaptureScaling() = default;

bool CCaptureScaling::Initialize(tag_Capture_SIZE szInput, tag_Capture_SIZE szOutput) {
    CHECKED_CALL(memcpy_s(&m_sOriFrameSize, sizeof(CAP_SIZE), &szInput, sizeof(CAP_SIZE)));
    CHECKED_CALL(memcpy_s(&m_sFinalFrameSize, sizeof(CAP_SIZE), &szOutput, sizeof(CAP_SIZE)));
    RefreshScalingAlg();
    return true;
}

bool CCaptureScaling::UnInitialize() {
    return true;
}

void CCaptureScaling::DestroyDxva() {}

int32_t CCaptureScaling::RefreshScalingAlg() {
    if (m_sOriFrameSize.dwWidth == m_sFinalFrameSize.dwWidth &&
        m_sOriFrameSize.dwHeight == m_sFinalFrameSize.dwHeight) {
        m_nScalingAlg = SCALING_COPY_ORIGINAL;
        CHECKED_CALL(
            memcpy_s(&m_sCapFrameSize, sizeof(CAP_SIZE), &m_sOriFrameSize, sizeof(CAP_SIZE)));
    } else {
        m_nScalingAlg = SCALING_BILINEAR;
        CHECKED_CALL(
            memcpy_s(&m_sCapFrameSize, sizeof(CAP_SIZE), &m_sFinalFrameSize, sizeof(CAP_SIZE)));
    }
    return m_nScalingAlg;
}

bool CCaptureScaling::Resize(const unsigned char* pSrc, uint32_t nSrcPitch, unsigned char* pDst) {
    if (pSrc == nullptr || nSrcPitch == 0 || pDst == nullptr) {
        return false;
    }
    RunScalingAlg(RefreshScalingAlg(), pSrc, nSrcPitch, pDst);
    return true;
}

void CCaptureScaling::RunScalingAlg(int32_t nScalingAlg, const unsigned char* pSrc,
                                    uint32_t nSrcPitch, unsigned char* pDst) {
    const uint32_t srcHeight = m_sOriFrameSize.dwHeight;
    switch (nScalingAlg) {
        case SCALING_COPY_ORIGINAL:
        case SCALING_COPY_ORIGINAL_ALT:
            CopyData(pSrc, nSrcPitch, srcHeight, pDst, m_sOriFrameSize);
            break;
        case SCALING_COPY_FINAL:
            CopyData(pSrc, nSrcPitch, srcHeight, pDst, m_sFinalFrameSize);
            break;
        case SCALING_BILINEAR:
            // The pitch, not the size, says how far apart rows are: padding counts as pixels.
            BilinearInterpolation(
                pSrc, static_cast<int>(nSrcPitch / kBytesPerPixel), static_cast<int>(srcHeight),
                pDst, static_cast<int>(m_sFinalFrameSize.dwWidth),
                static_cast<int>(m_sFinalFrameSize.dwHeight), static_cast<int>(kBytesPerPixel));
            break;
        case SCALING_DOWNSAMPLING:
            RgbDownsampling(nSrcPitch / kBytesPerPixel, srcHeight, static_cast<int>(nSrcPitch),
                            const_cast<unsigned char*>(pSrc), pDst);
            break;
        default:
            break;
    }
}

void CCaptureScaling::CopyData(const unsigned char* pSrc, uint32_t nSrcPitch, uint32_t nSrcHeight,
                               unsigned char* pDst, tag_Capture_SIZE szDst) {
    const unsigned long pitch = nSrcPitch;
    const unsigned long row = static_cast<unsigned long>(szDst.dwWidth) * kBytesPerPixel;
    if (row > pitch || szDst.dwHeight > nSrcHeight) {
        TRACE_ERROR("CCaptureScaling::CopyData param Error nSrcWidthPitch:", nSrcPitch,
                    ",SrcH:", nSrcHeight, ",DesW:", szDst.dwWidth, ",DesH:", szDst.dwHeight);
        return;
    }
    if (pSrc == nullptr || pDst == nullptr) {
        return;
    }
    if (row == pitch && szDst.dwHeight == nSrcHeight) {
        MacroMemcpy(pDst, pitch * nSrcHeight, pSrc, pitch * nSrcHeight);
        return;
    }
    for (uint32_t y = 0; y < szDst.dwHeight; ++y) {
        MacroMemcpy(pDst, row, pSrc, row);
        pDst += row;
        pSrc += pitch;
    }
}
