// Stands in front of the pixel functions MacroMemcpy, BilinearInterpolation and RgbDownsampling:
// records how they are called, then calls them.
#ifndef CONTRACT_SCALER_RECORDER_H
#define CONTRACT_SCALER_RECORDER_H

#include <string>
#include <vector>

namespace scaler_recorder {

void forget();

// "name(sizes)", pointers left out.
std::vector<std::string> calls();

}  // namespace scaler_recorder

#endif
