/* Memory for frames. */
#pragma once

#include <cstddef>

/* Allocates size bytes, which are not cleared; null if there is no memory. Large frames begin at a
 * large page and take whole ones, where the system has them: fewer pages are looked up while a
 * frame goes in or out, which is a good part of what copying it takes. */
unsigned char* AllocateFrame(std::size_t size) noexcept;

/* Frees what AllocateFrame gave for the same size; null is nothing to free. It is cleared first, as
 * whatever gets the memory next is not to see what was on screen. */
void FreeFrame(unsigned char* frame, std::size_t size) noexcept;
