/*
 * Where the bytes of a recording go: a file, a pipe, a device or standard output.
 *
 * A file grows in place, so that what a killed recording has written is there. What had its name
 * before stays until there is a first frame to write. For one thread at a time.
 */
#ifndef CAPMGR_RECORDING_TARGET_H
#define CAPMGR_RECORDING_TARGET_H

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "interruption.h"

class RecordingTarget {
  public:
    /*
     * Makes sure that a file can be made or replaced, and leaves nothing behind; opens what is no
     * file, for which a pipe waits until it has a reader or the interruption comes. Throws Failure,
     * which names the target and the reason.
     */
    RecordingTarget(const std::string& file, const Interruption& interruption);
    ~RecordingTarget();
    RecordingTarget(const RecordingTarget&) = delete;
    RecordingTarget& operator=(const RecordingTarget&) = delete;

    /* Full path; "to standard output" where it has none. Stands behind "cannot write". */
    const std::string& name() const { return name_; }

    /* True where bytes can be written over, cut off and removed. */
    bool isFile() const { return !path_.empty(); }

    /* Makes or empties the file; call once before writing. The results are 0 or an errno. */
    int open();
    int write(std::span<const std::uint8_t> bytes) const;
    int seek(std::int64_t position) const;
    int close();

    /* What is left of a recording that cannot go on; only for files. */
    void cutTo(std::int64_t size) const;
    void remove();

  private:
    void openAtOnce(const std::string& file, const Interruption& interruption);

    std::filesystem::path path_;  // of a file; empty for all else
    std::string name_;
    int descriptor_ = -1;
};

#endif
