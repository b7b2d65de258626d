/* Scripts that teach a shell to complete capmgr's command lines. Monitors and windows are looked up
 * when they are asked for. */
#ifndef CAPMGR_COMPLETION_SCRIPTS_H
#define CAPMGR_COMPLETION_SCRIPTS_H

#include <string>

#include "command_description.h"

std::string bashCompletion(const ProgramDescription& description);
std::string zshCompletion(const ProgramDescription& description);
std::string fishCompletion(const ProgramDescription& description);

#endif
