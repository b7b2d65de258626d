/* Asking for memory in large pages, where the system offers them. */
#pragma once

#include <cstddef>

/* Has the system put a block that was just allocated, and not written yet, in large pages as far as
 * it can: fewer of them are looked up when a whole frame goes in or out. It may well do nothing. */
void PreferLargePages(void* block, std::size_t size);
