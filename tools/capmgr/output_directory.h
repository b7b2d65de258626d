/*
 * The directory that a run writes into, made when it is absent and removed again when the run came
 * to nothing.
 */
#ifndef CAPMGR_OUTPUT_DIRECTORY_H
#define CAPMGR_OUTPUT_DIRECTORY_H

#include <filesystem>
#include <vector>

class OutputDirectory {
  public:
    /* Creates path and what leads to it. Throws Failure, which names it and the reason. */
    explicit OutputDirectory(const std::filesystem::path& path);

    /* Removes what the constructor made, as far as it is empty, unless keep was called. */
    ~OutputDirectory();
    OutputDirectory(const OutputDirectory&) = delete;
    OutputDirectory& operator=(const OutputDirectory&) = delete;

    void keep() { created_.clear(); }

    /* Full path. */
    const std::filesystem::path& path() const { return path_; }

  private:
    void removeCreated();

    std::filesystem::path path_;
    std::vector<std::filesystem::path> created_;  // outermost first
};

#endif
