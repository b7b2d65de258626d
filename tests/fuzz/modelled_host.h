/*
 * A host that makes calls and knows what must come of them, whatever the platform does meanwhile.
 * What does not come ends the program.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "CaptureManager.h"

void expect(bool holds, const char* what);

class ModelledHost {
  public:
    /* Indexes may be unknown ones, arguments anything that the interface takes. */
    void generateIndex();
    void start(unsigned index, unsigned monitor, CAP_METHOD method, CAP_TYPE type, unsigned version,
               CAP_MODE mode);
    void stop(unsigned index, int flush);
    void pause(unsigned index);
    void resume(unsigned index);
    void setFrameSize(unsigned index, CAP_SIZE size);
    void setMaxFrameRate(unsigned index, unsigned rate);
    void updateFrameRate(unsigned index, unsigned rate);
    void lock(unsigned index);
    void unlock(unsigned index);

    /* After each call: what can be asked without changing anything. */
    void look() const;

    /* Ends all captures, and the manager. */
    void endAll();

    std::size_t indexes() const { return captures_.size(); }

  private:
    struct Capture {
        bool isStarted = false;
        bool isPaused = false;
        unsigned monitor = 0;
        CAP_TYPE type = CAP_TYPE_DESKTOP;
        unsigned version = 0;
        unsigned storedRate = 0;
        std::optional<int> most;     // frame rates of what was started; none if it cannot be known
        std::optional<int> current;  // the same
        std::optional<CAP_SIZE> size;  // as above, of frames
        std::size_t locks = 0;
    };

    Capture* find(unsigned index);
    static void applyStoredRate(Capture& capture);

    std::vector<Capture> captures_;
};
