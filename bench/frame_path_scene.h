// The process that draws what is shared.
#ifndef QOR_BENCH_FRAME_PATH_SCENE_H
#define QOR_BENCH_FRAME_PATH_SCENE_H

namespace qor::bench {

// Draws on the display in DISPLAY as the board's plan says until it is ended. Its exit status: 1
// with one line on standard error when it cannot.
int runScene(const char* boardDescriptor);

}  // namespace qor::bench

#endif
