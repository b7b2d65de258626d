/* The moving scene on a server, from its first picture until the object goes away. */
#ifndef TESTS_TOOLS_LIVE_SCENE_H
#define TESTS_TOOLS_LIVE_SCENE_H

#include <stdexcept>
#include <string>

#include "child_process.h"

class LiveScene {
  public:
    explicit LiveScene(const std::string& display)
        : child_({{LIVESCENE_PROGRAM}, display, "/", OutputKind::Pipe}) {
        if (!child_.awaitOutput("ready\n")) {
            throw std::runtime_error("the moving scene did not start: " + child_.finish().errors);
        }
    }

    ChildProcess& process() { return child_; }

  private:
    ChildProcess child_;
};

#endif
