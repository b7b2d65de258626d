/* What a host does with the library, once: strictly, or as it comes while memory is short. */
#pragma once

#include <string>
#include <vector>

#include "stage.h"

class Doing {
  public:
    /* Strictly: all has to go well. Otherwise only what must not happen at any time is an error. */
    Doing(Stage& stage, bool isStrict) : stage_(stage), isStrict_(isStrict) {}

    Stage& stage() const { return stage_; }
    bool isStrict() const { return isStrict_; }

    /* Throws Broken when it is to go well and does not. */
    void expect(bool holds, const char* what) const;

  private:
    Stage& stage_;
    bool isStrict_;
};

struct Scenario {
    const char* name;
    void (*act)(const Doing& doing);
};

/* All that the stage has a part for. */
const std::vector<Scenario>& scenarios();
