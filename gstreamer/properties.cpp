#include "properties.h"

#include <cstdint>
#include <limits>

namespace {

enum Property : guint { kMonitor = 1, kWindow, kExcludedWindows, kWidth, kHeight, kFrameRate };

constexpr int kPrimary = -1;

GParamFlags changeable(int when) {
    return static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | when);
}

std::vector<unsigned int> numbersIn(const GValue* array) {
    std::vector<unsigned int> numbers;
    for (guint i = 0; i < gst_value_array_get_size(array); ++i) {
        numbers.push_back(g_value_get_uint(gst_value_array_get_value(array, i)));
    }
    return numbers;
}

void putNumbers(const std::vector<unsigned int>& numbers, GValue* array) {
    for (const unsigned int number : numbers) {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, G_TYPE_UINT);
        g_value_set_uint(&value, number);
        gst_value_array_append_and_take_value(array, &value);
    }
}

void installSelection(GObjectClass* type) {
    constexpr unsigned int kLargest = std::numeric_limits<unsigned int>::max();
    g_object_class_install_property(
        type, kMonitor,
        g_param_spec_int("monitor", "Monitor", "Index of the monitor (-1 = the primary one)",
                         kPrimary, std::numeric_limits<int>::max(), kPrimary,
                         changeable(GST_PARAM_MUTABLE_READY)));
    g_object_class_install_property(
        type, kWindow,
        g_param_spec_uint("window", "Window",
                          "Number of the window to share alone, at its place on the monitor "
                          "(0 = the whole monitor)",
                          0, kLargest, 0, changeable(GST_PARAM_MUTABLE_READY)));
    g_object_class_install_property(
        type, kExcludedWindows,
        gst_param_spec_array(
            "excluded-windows", "Excluded windows",
            "Numbers of the windows to leave out, as in '<1, 2>'",
            g_param_spec_uint("excluded-window", "Excluded window",
                              "Number of a window to leave out", 0, kLargest, 0, changeable(0)),
            changeable(GST_PARAM_MUTABLE_PLAYING)));
}

void installFormat(GObjectClass* type) {
    constexpr int kLargest = std::numeric_limits<int>::max();
    g_object_class_install_property(
        type, kWidth,
        g_param_spec_int("width", "Width",
                         "Preferred width of the pictures in pixels, where caps leave it open "
                         "(0 = the monitor's own)",
                         0, kLargest, 0, changeable(GST_PARAM_MUTABLE_PLAYING)));
    g_object_class_install_property(
        type, kHeight,
        g_param_spec_int("height", "Height",
                         "Preferred height of the pictures in pixels, where caps leave it open "
                         "(0 = the monitor's own)",
                         0, kLargest, 0, changeable(GST_PARAM_MUTABLE_PLAYING)));
    g_object_class_install_property(
        type, kFrameRate,
        gst_param_spec_fraction(
            "framerate", "Frame rate", "Preferred frames a second, where caps leave them open",
            kLowestRate.numerator, kLowestRate.denominator, kHighestRate.numerator,
            kHighestRate.denominator, kHighestRate.numerator, kHighestRate.denominator,
            changeable(GST_PARAM_MUTABLE_PLAYING)));
}

}  // namespace

void installProperties(GObjectClass* type) {
    installSelection(type);
    installFormat(type);
}

bool setWish(Wishes& wishes, guint property, const GValue* value) {
    switch (property) {
        case kMonitor: {
            const int index = g_value_get_int(value);
            wishes.monitor.reset();
            if (index != kPrimary) {
                wishes.monitor = static_cast<unsigned int>(index);
            }
            return true;
        }
        case kWindow:
            wishes.window = g_value_get_uint(value);
            return true;
        case kExcludedWindows:
            wishes.excluded = numbersIn(value);
            return true;
        case kWidth:
            wishes.format.size.dwWidth = static_cast<std::uint32_t>(g_value_get_int(value));
            return true;
        case kHeight:
            wishes.format.size.dwHeight = static_cast<std::uint32_t>(g_value_get_int(value));
            return true;
        case kFrameRate:
            wishes.format.rate = {gst_value_get_fraction_numerator(value),
                                  gst_value_get_fraction_denominator(value)};
            return true;
        default:
            return false;
    }
}

bool getWish(const Wishes& wishes, guint property, GValue* value) {
    switch (property) {
        case kMonitor:
            g_value_set_int(value, wishes.monitor ? static_cast<int>(*wishes.monitor) : kPrimary);
            return true;
        case kWindow:
            g_value_set_uint(value, wishes.window);
            return true;
        case kExcludedWindows:
            putNumbers(wishes.excluded, value);
            return true;
        case kWidth:
            g_value_set_int(value, static_cast<int>(wishes.format.size.dwWidth));
            return true;
        case kHeight:
            g_value_set_int(value, static_cast<int>(wishes.format.size.dwHeight));
            return true;
        case kFrameRate:
            gst_value_set_fraction(value, wishes.format.rate.numerator,
                                   wishes.format.rate.denominator);
            return true;
        default:
            return false;
    }
}

bool isOfFormat(guint property) {
    return property == kWidth || property == kHeight || property == kFrameRate;
}
