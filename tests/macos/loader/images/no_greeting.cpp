// Takes libgreeting.dylib's place, and has nothing itself that is wanted of it.
extern "C" __attribute__((visibility("default"))) int unwantedNumber() {
    return 0;
}
