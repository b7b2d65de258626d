// Which kernels this processor runs, and which of them are used.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "kernels.h"
#include "processor.h"
#include "scaling.h"

namespace qor::scaling {
namespace {

constexpr const char* kVariable = "QOR_KXCOMMON64_KERNELS";

class UsableKernels {
  public:
    UsableKernels() {
        add(kScalarKernels, true);
#if defined(__x86_64__)
        const InstructionSets usable = usableInstructionSets();
        add(kSse41Kernels, usable.sse41);
        add(kAvx2Kernels, usable.avx2);
        add(kAvx512Kernels, usable.avx512);
#elif defined(__aarch64__)
        add(kNeonKernels, true);
#endif
    }
    std::span<const RowKernels* const> all() const {
        return {kernels_.data(), count_};
    }

  private:
    void add(const RowKernels& kernels, bool runsHere) {
        if (runsHere) {
            kernels_[count_++] = &kernels;
        }
    }

    std::array<const RowKernels*, 4> kernels_{};
    size_t count_ = 0;
};

void reportUnusable(const char* wanted, const RowKernels& taken) {
    std::string names;
    for (const RowKernels* kernels : usableRowKernels()) {
        names += ' ';
        names += kernels->name;
    }
    std::fprintf(stderr, "qor_conf_kxcommon64: %s=%s is not among:%s; taking %s\n", kVariable,
                 wanted, names.c_str(), taken.name);
}

const RowKernels& choose() {
    const RowKernels& fastest = *usableRowKernels().back();
    const char* const wanted = std::getenv(kVariable);
    if (wanted == nullptr || *wanted == '\0') {
        return fastest;
    }
    for (const RowKernels* kernels : usableRowKernels()) {
        if (std::string_view(wanted) == kernels->name) {
            return *kernels;
        }
    }
    reportUnusable(wanted, fastest);
    return fastest;
}

}  // namespace

std::span<const RowKernels* const> usableRowKernels() {
    static const UsableKernels kernels;
    return kernels.all();
}

const char* nameOf(const RowKernels& kernels) {
    return kernels.name;
}

const RowKernels& chosenRowKernels() {
    static const RowKernels& chosen = choose();
    return chosen;
}

}  // namespace qor::scaling
