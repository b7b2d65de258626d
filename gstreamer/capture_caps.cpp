#include "capture_caps.h"

#include <algorithm>
#include <cstdint>

namespace {

// A side's length as the caps or else the preference settle it; 0 where neither does.
std::uint32_t settledSide(const GstStructure* format, const char* name, std::uint32_t preferred) {
    int fixed = 0;
    return gst_structure_get_int(format, name, &fixed) != FALSE ? static_cast<std::uint32_t>(fixed)
                                                                : preferred;
}

std::uint32_t proportional(std::uint32_t other, std::uint32_t own, std::uint32_t othersOwn) {
    return std::max(1U, static_cast<std::uint32_t>(gst_util_uint64_scale_int_round(
                            other, static_cast<int>(own), static_cast<int>(othersOwn))));
}

// As near to the target as the caps allow; gives what it became.
std::uint32_t fixateSide(GstStructure* format, const char* name, std::uint32_t target) {
    gst_structure_fixate_field_nearest_int(format, name, static_cast<int>(target));
    return settledSide(format, name, target);
}

void fixateSize(GstStructure* format, CAP_SIZE preferred, CAP_SIZE monitor) {
    const std::uint32_t width = settledSide(format, "width", preferred.dwWidth);
    const std::uint32_t height = settledSide(format, "height", preferred.dwHeight);
    if (width == 0 && height != 0) {
        const std::uint32_t actual = fixateSide(format, "height", height);
        fixateSide(format, "width", proportional(actual, monitor.dwWidth, monitor.dwHeight));
        return;
    }
    const std::uint32_t actual = fixateSide(format, "width", width == 0 ? monitor.dwWidth : width);
    fixateSide(format, "height",
               height == 0 ? proportional(actual, monitor.dwHeight, monitor.dwWidth) : height);
}

}  // namespace

GstCaps* captureCapsUpTo(CAP_SIZE monitor) {
    return gst_caps_new_simple(
        "video/x-raw", "format", G_TYPE_STRING, "BGRx", "width", GST_TYPE_INT_RANGE, 1,
        static_cast<int>(monitor.dwWidth), "height", GST_TYPE_INT_RANGE, 1,
        static_cast<int>(monitor.dwHeight), "framerate", GST_TYPE_FRACTION_RANGE,
        kLowestRate.numerator, kLowestRate.denominator, kHighestRate.numerator,
        kHighestRate.denominator, "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, "interlace-mode",
        G_TYPE_STRING, "progressive", "colorimetry", G_TYPE_STRING, "sRGB", nullptr);
}

GstCaps* fixateCapture(GstCaps* caps, const PreferredFormat& preferred, CAP_SIZE monitor) {
    GstCaps* const one = gst_caps_make_writable(gst_caps_truncate(caps));
    GstStructure* const format = gst_caps_get_structure(one, 0);
    fixateSize(format, preferred.size, monitor);
    gst_structure_fixate_field_nearest_fraction(format, "framerate", preferred.rate.numerator,
                                                preferred.rate.denominator);
    return gst_caps_fixate(one);
}
