/*
 * What keeps the element from going on: the line that the user is to read, and its code.
 *
 * Thrown where the fault is detected, and caught where the element hands it to the pipeline.
 */
#ifndef QOR_GSTREAMER_FAULT_H
#define QOR_GSTREAMER_FAULT_H

#include <gst/gst.h>

#include <stdexcept>
#include <string>

class Fault : public std::runtime_error {
  public:
    Fault(GstResourceError code, const std::string& line) : std::runtime_error(line), code_(code) {}

    GstResourceError code() const { return code_; }

  private:
    GstResourceError code_;
};

#endif
