/*
 * X servers of a test's own with what a virtual screen has not, never the user's. They need neither
 * root nor a console.
 */
#pragma once

#include <filesystem>
#include <string>

#include "server_program.h"
#include "xvfb_server.h"

/* A directory with a name of its own, gone with all that is in it when the object goes. */
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

/* The server of real displays with a driver that shows nothing, but has many outputs. They are
 * unplugged until a mode is set on them, and again when they are switched off; they do not
 * rotate. */
class XorgServer {
  public:
    /* The root window's size at the start; the first output shows all of it. */
    static constexpr unsigned kWidth = 1024;
    static constexpr unsigned kHeight = 768;

    /* What to set DISPLAY to, ":5". */
    std::string display() const { return ":" + program_.number(); }

    pid_t pid() const { return program_.pid(); }

  private:
    TemporaryDirectory directory_;
    ServerProgram program_ = start(directory_.path());

    static ServerProgram start(const std::filesystem::path& directory);
};

/* A server whose screen is a window of another one's, and whose one output rotates. */
class XephyrServer {
  public:
    /* screen is WIDTHxHEIGHT. */
    explicit XephyrServer(const std::string& screen);

    std::string display() const { return ":" + program_.number(); }

  private:
    XvfbServer host_{"1280x1024x24"};
    ServerProgram program_;
};
