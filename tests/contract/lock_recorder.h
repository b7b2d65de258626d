// Stands in front of VQ_Critical_Section: records what is done with each one, then does it.
#ifndef CONTRACT_LOCK_RECORDER_H
#define CONTRACT_LOCK_RECORDER_H

#include <string>
#include <vector>

class VQ_Critical_Section;

struct LockUse {
    const VQ_Critical_Section* section;
    std::string operation;  // "init", "lock", "unlock", "cleanup"

    bool operator==(const LockUse&) const = default;
};

namespace lock_recorder {

void forget();

// The next cleanup throws in place of cleaning up.
void throwAtNextCleanup();

// What the calling thread did, in order.
std::vector<LockUse> ofThisThread();

}  // namespace lock_recorder

#endif
