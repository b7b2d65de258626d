#include "shared_by_images.h"

int contestedNumber() {
    return 52;
}
