// What comes before catch (...): where a cancelled thread unwinds by an exception, that one goes
// on.
#ifndef QOR_CONF_CANCELLATION_H
#define QOR_CONF_CANCELLATION_H

#ifdef __GLIBCXX__
#include <cxxabi.h>

#define LET_CANCELLATION_PASS             \
    catch (const abi::__forced_unwind&) { \
        throw;                            \
    }
#else
#define LET_CANCELLATION_PASS
#endif

#endif
