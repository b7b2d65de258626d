#include "Trace.h"

namespace trace {

void reportFailedCall(SourcePosition position, const char* call, int result) {
    VQ_Text_Stream report(kTextCapacity, kTextGrowth);
    report << "[" << position.path << ";" << position.line << "] " << call << " return=" << result;
    if (vq_trace_level() >= kWarning) {
        write(kWarning, 0, position, "", static_cast<const char*>(report.m_pText));
    }
}

}  // namespace trace
