#ifndef GREETING_H
#define GREETING_H

// Of libgreeting.dylib, of which there are two: in the poorer one the spare number is missing, or
// both.
extern "C" __attribute__((visibility("default"))) int greetingNumber();
extern "C" __attribute__((visibility("default"), weak_import)) int spareNumber();

#endif
