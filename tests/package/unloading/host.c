/* A host that lets go of the library while a capture runs: host LIBRARY */
#include <CaptureManager.h>
#include <dlfcn.h>
#include <stdio.h>

#define FIND(function) ((__typeof__(&function))dlsym(library, #function))

static int fail(const char* what) {
    fprintf(stderr, "%s\n", what);
    return 1;
}

int main(int argc, char** argv) {
    void* const library = argc == 2 ? dlopen(argv[1], RTLD_NOW) : NULL;
    if (library == NULL) {
        return fail("no library");
    }
    const unsigned capture = FIND(CapMgr_GenerateCaptureIndex)();
    const __typeof__(&CapMgr_StopCapture) stop = FIND(CapMgr_StopCapture);
    if (FIND(CapMgr_StartCapture)(capture, 0, CAP_METHOD_DEFAULT, CAP_TYPE_DESKTOP, 0,
                                  PARALLEL_CAPTURE_MODE) != 0) {
        return fail("no capture started");
    }
    dlclose(library);
    if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == NULL) {
        return fail("the library is gone, its thread is not");
    }
    return stop(capture, 0) ? 0 : fail("the capture was not stopped");
}
