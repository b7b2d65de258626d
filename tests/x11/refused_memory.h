/* Memory to share images in, refused by the system to this process while it lives. Stands in front
 * of memfd_create and shmget. */
#pragma once

class RefusedMemory {
  public:
    enum class Kind { byDescriptor, any };

    explicit RefusedMemory(Kind kind);
    ~RefusedMemory();
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;

    /* How often it was. */
    static unsigned refusals();
};
