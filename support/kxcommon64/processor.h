// Which instruction sets this processor runs and this system keeps the registers of.
#ifndef QOR_CONF_KXCOMMON64_PROCESSOR_H
#define QOR_CONF_KXCOMMON64_PROCESSOR_H

namespace qor::scaling {

struct InstructionSets {
    bool sse41 = false;
    bool avx2 = false;
    bool avx512 = false;  // with operations on bytes and words, and their permutation
};

InstructionSets usableInstructionSets();

}  // namespace qor::scaling

#endif
