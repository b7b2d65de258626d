// A capture object of a host's own, put into the registry: what the interface asks of it is noted
// in the journal, and it answers as a test says.
#ifndef CONTRACT_HOSTS_CAPTURE_H
#define CONTRACT_HOSTS_CAPTURE_H

#include <string>
#include <utility>

#include "journal.h"
#include "scripted_capture.h"

class HostsCapture : public ScriptedCapture {
  public:
    explicit HostsCapture(std::string captureName = "") : name_(std::move(captureName)) {}
    ~HostsCapture() override { Journal::note("delete " + name_); }

    uint32_t StartCapture() override {
        Journal::note("start");
        return startResult;
    }
    bool UpdateFrameRate(unsigned int rate) override {
        Journal::note("rate " + std::to_string(rate));
        return settingResult;
    }
    bool SetFrameSize(tag_Capture_SIZE size) override {
        Journal::note("size " + std::to_string(size.dwWidth) + " x " +
                      std::to_string(size.dwHeight));
        return settingResult;
    }
    CAP_DESKTOP_DATA CaptureScreen() override {
        Journal::note("capture");
        return captured;
    }

    void failWith(int32_t result) { m_iCapFailResult = result; }

    uint32_t startResult = 0;
    bool settingResult = true;
    CAP_DESKTOP_DATA captured{};

  private:
    std::string name_;
};

#endif
