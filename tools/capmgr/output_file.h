/*
 * A file that appears whole or not at all: the bytes go to a temporary beside it, which then takes
 * its name.
 */
#ifndef CAPMGR_OUTPUT_FILE_H
#define CAPMGR_OUTPUT_FILE_H

#include <filesystem>
#include <span>

#include "interruption.h"

class OutputFile {
  public:
    /*
     * Makes sure, before any capturing is done, that the file can be made or replaced; leaves
     * nothing behind. Throws Failure, which names the file and the reason.
     */
    explicit OutputFile(const std::filesystem::path& path);

    /* Writes the file; an interruption waits until that is done. Throws Failure. */
    void write(std::span<const char> bytes, Interruption& interruption) const;

    /* Full path; a symbolic link has been followed. */
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

#endif
