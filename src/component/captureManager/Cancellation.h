// What comes before catch (...): where a cancelled thread unwinds by an exception, that one goes
// on.
#ifndef QOR_CONF_CANCELLATION_H
#define QOR_CONF_CANCELLATION_H

#include <cstddef>  // tells which C++ library it is

#ifdef __GLIBCXX__
#include <cxxabi.h>

#define LET_CANCELLATION_PASS             \
    catch (const abi::__forced_unwind&) { \
        throw;                            \
    }
#else
#define LET_CANCELLATION_PASS
#endif

// For a function that is left that way: what is caught then is no object, and sanitizers mind.
#define PASSED_BY_CANCELLATION __attribute__((no_sanitize("null")))

#endif
