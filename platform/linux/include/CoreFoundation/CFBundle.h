/* The user's choice among localisations. */
#ifndef COREFOUNDATION_CFBUNDLE_H
#define COREFOUNDATION_CFBUNDLE_H

#include <CoreFoundation/CFArray.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* A new array with the one locale name of localizations (CFStringRef, for example "en_US") that
 * suits the process's locale best: LC_ALL, else LC_MESSAGES, else LANG, compared whole and then by
 * language; failing that, the first. Empty if localizations is empty; NULL if memory is short. */
CFArrayRef CFBundleCopyPreferredLocalizationsFromArray(CFArrayRef localizations);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
