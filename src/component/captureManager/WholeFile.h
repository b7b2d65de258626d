/* A file that is there as a whole or not at all. */
#pragma once

#include <cstddef>

/* Opens path for writing, a new file or in place of the regular file that is there, and closes it
 * when it goes. If anything failed until then, what was begun is removed. A symbolic link in the
 * last place of path is not followed, so nobody who may write to a folder has another file
 * overwritten. Neither are pipes and devices written to: opening one does not wait for its reader,
 * and none is removed. */
class WholeFile {
  public:
    /* The path is to stay until the file goes; null is none that can be opened. */
    explicit WholeFile(const char* path);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    /* Does nothing once something failed. Memory that cannot be read is such a failure. */
    void write(const unsigned char* data, std::size_t size);

  private:
    const char* path_;
    int descriptor_ = -1;
    bool isWhole_ = true;
};
