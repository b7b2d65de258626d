/* The displays that the platform tells of, with what it says of each. */
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

/* A display and its bounds. */
struct Shown {
    CGDirectDisplayID id = 0;
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    friend bool operator==(const Shown&, const Shown&) = default;
};

void PrintTo(const Shown& shown, std::ostream* out);

/* The active displays in their order. */
std::vector<CGDirectDisplayID> activeDisplays();
std::vector<Shown> shownDisplays();

double refreshRate(CGDirectDisplayID display);

/* A display's product name; "no description" of an unknown one, "no name" where it has none. */
std::string productName(CGDirectDisplayID display);

/* A display's description of itself, with a product name of up to 12 characters. */
std::vector<std::uint8_t> edidNamed(const std::string& name);
