// The process that shares the screen through the library, and reads nothing unless it is asked to.
#ifndef QOR_BENCH_FRAME_PATH_HOST_H
#define QOR_BENCH_FRAME_PATH_HOST_H

namespace qor::bench {

// Captures the display in DISPLAY as the host board's plan says, and does what it is commanded
// until told to end. Its exit status: 1 with one line on standard error when it cannot, or when a
// frame is not what the scene drew.
int runHost(const char* sceneBoard, const char* hostBoard);

}  // namespace qor::bench

#endif
