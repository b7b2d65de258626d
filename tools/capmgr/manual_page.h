#ifndef CAPMGR_MANUAL_PAGE_H
#define CAPMGR_MANUAL_PAGE_H

#include <string>

#include "command_description.h"

/* The manual page, in the language of man(7). */
std::string manualPage(const ProgramDescription& description);

#endif
