#include "CaptureMac.h"

#include <array>
#include <limits>
#include <mutex>

#include "DisplayImages.h"
#include "ExcludedWindows.h"
#include "FrameMemory.h"
#include "Monitor.h"
#include "PlatformRef.h"
#include "ThreadRun.h"
#include "Trace.h"
#include "WholeFile.h"
#include "kxcommon64.h"

// Bound weakly: what takes the platform's place need not tell how long its data is.
#pragma weak CFDataGetLength

namespace {

using qor::CancellableLock;
using qor::leaveIfGivenUp;
using qor::OnCancellation;

constexpr char kSourcePath[] = "src/component/captureManager/CaptureMac";

constexpr uint32_t kBytesPerPixel = 4;
constexpr int kCaptureType = 4;

// Removes the excluded windows, from the last index to the first, so that no index moves before
// its turn.
void removeWindows(CFMutableArrayRef windows, const std::vector<const void*>& excluded) {
    for (CFIndex i = CFArrayGetCount(windows) - 1; i >= 0; --i) {
        const void* const window = CFArrayGetValueAtIndex(windows, i);
        if (excluded_windows::contains(excluded, window)) {
            CFArrayRemoveValueAtIndex(windows, i);
        }
    }
}

uint64_t lengthOf(CFDataRef data) {
    return CFDataGetLength == nullptr ? std::numeric_limits<uint64_t>::max()
                                      : static_cast<uint64_t>(CFDataGetLength(data));
}

// File header and information header of an uncompressed bitmap, little-endian on any machine.
class BmpHeader {
  public:
    static constexpr uint32_t kFileHeaderSize = 14;
    static constexpr uint32_t kInformationHeaderSize = 40;
    static constexpr uint32_t kSize = kFileHeaderSize + kInformationHeaderSize;

    // Whether the format has room for the size of that many pixels.
    static bool canDescribe(int width, int height) {
        constexpr int64_t kMostPixels =
            (std::numeric_limits<uint32_t>::max() - kSize) / kBytesPerPixel;
        const int64_t pixels = int64_t{width} * height;
        return pixels >= 0 && pixels <= kMostPixels;
    }

    BmpHeader(int width, int height, uint16_t bitCount)
        : dataSize_(static_cast<uint32_t>(width) * static_cast<uint32_t>(height) * kBytesPerPixel) {
        put(0x4D42, 2);  // "BM"
        put(dataSize_ + kSize, 4);
        put(0, 4);  // reserved
        put(kSize, 4);
        put(kInformationHeaderSize, 4);
        put(static_cast<uint32_t>(width), 4);
        put(0U - static_cast<uint32_t>(height), 4);  // negative: rows are stored top-down
        put(1, 2);                                   // planes
        put(bitCount, 2);
        put(0, 4);  // no compression
        put(dataSize_, 4);
        // Resolution and colours used stay 0.
    }

    const unsigned char* bytes() const { return bytes_.data(); }
    uint32_t dataSize() const { return dataSize_; }

  private:
    void put(uint32_t value, size_t size) {
        for (size_t i = 0; i < size; ++i) {
            bytes_[length_++] = static_cast<unsigned char>(value >> (8 * i));
        }
    }

    std::array<unsigned char, kSize> bytes_{};
    size_t length_ = 0;
    uint32_t dataSize_;
};

}  // namespace

// One image and its bytes, let go of where the thread is cancelled, too: while it waits for the
// buffer.
struct CCaptureMac::CapturedFrame {
    explicit CapturedFrame(CGImageRef created) : image(created) {}

    void release() {
        data.reset();
        image.reset();
    }

    ImageRef image;
    CFRef<CFDataRef> data;
    const OnCancellation releaseOnCancellation{
        [](void* frame) { static_cast<CapturedFrame*>(frame)->release(); }, this};
};

CCaptureMac::CCaptureMac(const CMonitor* monitor, CAP_METHOD method, CAP_TYPE type)
    : CCaptureBase(monitor, method, type),
      m_dwDisplayID(monitor->GetDisplayID()),
      m_pRowBuffer(nullptr),
      m_nBytesPerRow(0),
      m_bRowsAligned(false),
      m_nCaptureWidth(monitor->GetPixelWidth()),
      m_nCaptureHeight(monitor->GetPixelHeight()) {}

CCaptureMac::~CCaptureMac() {
    TRACE_INFO("CCaptureMac::~CCaptureMac()... Begin");
    TRACE_INFO("CCaptureMac::~CCaptureMac()... End");
}

bool CCaptureMac::Init() {
    TRACE_INFO("CCaptureMac::Init()... Begin");
    ImageRef image(display_images::ofDisplay(m_dwDisplayID));
    leaveIfGivenUp();
    if (image == nullptr) {
        return false;
    }
    const auto width = static_cast<uint32_t>(CGImageGetWidth(image.get()));
    const auto height = static_cast<uint32_t>(CGImageGetHeight(image.get()));
    const auto bitsPerPixel = static_cast<uint32_t>(CGImageGetBitsPerPixel(image.get()));
    m_nBytesPerRow = static_cast<uint32_t>(CGImageGetBytesPerRow(image.get()));
    const auto bitsPerComponent = static_cast<uint32_t>(CGImageGetBitsPerComponent(image.get()));
    image.reset();

    AllocBuffer(width * kBytesPerPixel * height);
    if (m_nBytesPerRow == width * kBytesPerPixel) {
        m_bRowsAligned = true;
    } else if (!m_bRowsAligned && m_pRowBuffer == nullptr) {
        m_nRowBufferSize = size_t{m_nBytesPerRow} * height;
        m_pRowBuffer = AllocateFrame(m_nRowBufferSize);
    }
    TRACE_INFO("CCaptureMac::Init()... End  bufsize:", m_nbufSize.load(), " width", width,
               " height", height, " bitcount", bitsPerPixel, " bytesperrow", m_nBytesPerRow,
               " bitspercomponent", bitsPerComponent);
    return true;
}

void CCaptureMac::UnInit() {
    TRACE_INFO("CCaptureMac::UnInit()... Begin");
    if (!IsLeftInUse()) {
        FreeFrame(m_pRowBuffer, m_nRowBufferSize);
        m_pRowBuffer = nullptr;
        m_nRowBufferSize = 0;
    }
    DeallocBuffer();
    TRACE_INFO("CCaptureMac::UnInit()... End!");
}

bool CCaptureMac::DoCapture() {
    TRACE_DETAIL("CCaptureMac::DoCapture()... Begin!");
    CapturedFrame frame(CreateImage());
    leaveIfGivenUp();
    TRACE_EACH_FRAME(trace::kInformation, "CCaptureMac::DoCapture imageRef: ",
                     static_cast<const void*>(frame.image.get()));
    if (frame.image == nullptr) {
        // Counts as captured: the host sees black rather than the last frame.
        TRACE_ERROR("CCaptureMac::DoCapture()... imageRef is null!");
        ClearFrame();
    } else if (!DeliverFrame(frame)) {
        return false;
    }
    frame.release();
    TRACE_EACH_FRAME(trace::kInformation, "CCaptureMac::DoCapture()... End!");
    return true;
}

int CCaptureMac::GetCaptureType() {
    return kCaptureType;
}

// The area in global display coordinates, points.
CGRect CCaptureMac::CaptureArea() const {
    return CGRectMake(m_rcCapture.left, m_rcCapture.top, m_nCaptureWidth, m_nCaptureHeight);
}

CGImageRef CCaptureMac::CreateImage() {
    std::vector<const void*> excluded;
    try {
        excluded = ExcludedWindows();
    } catch (...) {  // whoever's exception says that memory is short
        TRACE_ERROR("CCaptureMac::DoCapture()... no memory for the excluded windows!");
        return nullptr;
    }
    TRACE_EACH_FRAME(trace::kInformation, "CCaptureMac::DoCapture DisplayID: ", m_dwDisplayID,
                     " excludeWndEmpty: ", excluded.empty());
    if (excluded_windows::isIncomplete(excluded)) {
        TRACE_ERROR("CCaptureMac::DoCapture()... not all excluded windows are known!");
        return nullptr;
    }
    switch (m_eCapType) {
        case CAP_TYPE_DESKTOP:
            return excluded.empty()
                       ? display_images::ofWindowList(
                             CaptureArea(), kCGWindowListOptionOnScreenOnly, kCGNullWindowID)
                       : CreateImageWithoutWindows(excluded);
        case CAP_TYPE_APP_WINDOW:
            return CreateWindowImage();
        default:
            return nullptr;
    }
}

CGImageRef CCaptureMac::CreateImageWithoutWindows(const std::vector<const void*>& excluded) {
    const CFRef<CFArrayRef> onScreen(
        CGWindowListCreate(kCGWindowListOptionOnScreenOnly, kCGNullWindowID));
    leaveIfGivenUp();
    if (onScreen == nullptr) {
        return nullptr;
    }
    const CFRef<CFMutableArrayRef> windows(
        CFArrayCreateMutableCopy(kCFAllocatorDefault, 0, onScreen.get()));
    if (windows == nullptr) {
        return nullptr;
    }
    removeWindows(windows.get(), excluded);
    return display_images::ofWindows(CaptureArea(), windows.get());
}

CGImageRef CCaptureMac::CreateWindowImage() {
    const CGWindowID window = m_nWndCaptureID;
    if (window == kCGNullWindowID) {
        TRACE_ERROR("CCaptureMac::DoCapture()... Invalid Param m_nWndCaptureID is null !");
        return nullptr;
    }
    return display_images::ofWindowList(CaptureArea(), kCGWindowListOptionIncludingWindow, window);
}

// A copy, so that the list's lock is not held during platform calls.
std::vector<const void*> CCaptureMac::ExcludedWindows() {
    const std::lock_guard<VQ_Critical_Section> lock(m_csExcludeWnd);
    return m_vecExcludeWnd;
}

// Checks the image and scales its bytes into the frame buffer; false when it is not delivered.
bool CCaptureMac::DeliverFrame(CapturedFrame& frame) {
    const CGImageRef image = frame.image.get();
    const auto width = static_cast<uint32_t>(CGImageGetWidth(image));
    const auto height = static_cast<uint32_t>(CGImageGetHeight(image));
    if (width != int64_t{m_rcCapture.right} - m_rcCapture.left ||
        height != int64_t{m_rcCapture.bottom} - m_rcCapture.top) {
        TRACE_ERROR("CCaptureMac::CaptureScreen()... Resolution changed! ", width, " ", height, " ",
                    m_rcCapture.left, " ", m_rcCapture.top, " ", m_rcCapture.right, " ",
                    m_rcCapture.bottom);
        ClearFrame();
        return false;
    }
    frame.data.reset(CGDataProviderCopyData(CGImageGetDataProvider(image)));
    leaveIfGivenUp();
    if (frame.data == nullptr) {
        TRACE_ERROR("CCaptureMac::CaptureScreen()... dataref is NULL!");
        return false;
    }
    const unsigned char* const bytes = CFDataGetBytePtr(frame.data.get());
    if (bytes == nullptr) {
        TRACE_ERROR("CCaptureMac::CaptureScreen()... data is NULL!");
        return false;
    }
    const uint64_t length = lengthOf(frame.data.get());
    if (length < uint64_t{width} * kBytesPerPixel * height) {
        TraceMisfit(width, height, length);
        return false;
    }
    TRACE_EACH_FRAME(trace::kInformation, "CCaptureMac::DoCapture ready to lock.");
    if (!CheckARGBData(bytes, width, height)) {
        return false;
    }
    // The pitch measured by Init holds for every image of the same size; but the display may have
    // had another size then.
    if (m_nBytesPerRow < uint64_t{width} * kBytesPerPixel ||
        length < uint64_t{m_nBytesPerRow} * height) {
        TraceMisfit(width, height, length);
        return false;
    }
    return Resize(const_cast<unsigned char*>(bytes), m_nBytesPerRow) != 0 || !RefusesFrame();
}

void CCaptureMac::TraceMisfit(uint32_t width, uint32_t height, uint64_t length) const {
    TRACE_ERROR("CCaptureMac::CaptureScreen()... data does not fit! ", width, " ", height, " ",
                m_nBytesPerRow, " ", static_cast<unsigned long>(length));
}

// Whether the rows of the capture area are within the row buffer and fit into the frame buffer.
bool CCaptureMac::RowsFit() const {
    const auto width = int64_t{m_rcCapture.right} - m_rcCapture.left;
    const auto height = static_cast<uint64_t>(int64_t{m_rcCapture.bottom} - m_rcCapture.top);
    if (width <= 0) {
        return false;
    }
    const uint64_t row = static_cast<uint64_t>(width) * kBytesPerPixel;
    const bool isWithin =
        m_nRowBufferSize == 0 || (height - 1) * m_nBytesPerRow + row <= m_nRowBufferSize;
    return height <= m_nbufSize / row && isWithin;
}

void CCaptureMac::ClearFrame() {
    if (const int result = ClearBuffer(); result != 0) {
        TRACE_ERROR("CCaptureMac::DoCapture()... memset_s failed, err = ", result);
    }
}

void CCaptureMac::ChangeBmpDataTo4BytesAligned() {
    if (m_pRowBuffer == nullptr || m_rcCapture.bottom <= m_rcCapture.top) {
        return;
    }
    const CancellableLock lock(m_csBuffer);
    if (m_lpBuffer == nullptr) {
        return;
    }
    if (!RowsFit()) {
        TRACE_ERROR("CCaptureMac::ChangeBmpDataTo4BytesAligned()... the rows do not fit!");
        return;
    }
    const auto nWidth = static_cast<size_t>(m_rcCapture.right - m_rcCapture.left);
    const unsigned char* pRowOrginData = m_pRowBuffer;
    unsigned char* pRowData = m_lpBuffer;
    for (int32_t row = m_rcCapture.top; row < m_rcCapture.bottom; ++row) {
        CHECKED_CALL(memcpy_s(pRowData, nWidth * 4, pRowOrginData, nWidth * 4));
        pRowOrginData += m_nBytesPerRow;
        pRowData += nWidth * 4;
    }
}

void SaveBmp(char* path, unsigned char* data, int width, int height, uint16_t bitCount) {
    if (!BmpHeader::canDescribe(width, height)) {
        return;
    }
    const BmpHeader header(width, height, bitCount);
    WholeFile file(path);
    file.write(header.bytes(), BmpHeader::kSize);
    if (data != nullptr) {
        file.write(data, header.dataSize());
    }
}
