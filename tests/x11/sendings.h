/* What threads send to an X server, in a test's hands. Stands in front of writev, by which the X
 * client library sends. */
#pragma once

#include <functional>

namespace sendings {

/* Has something done before one of this thread's next sendings, 1 for the next one; and that wait
 * for all replies to it before it returns. */
void interrupt(int number, std::function<void()> act);

/* Whether that came to pass; what has not is given up. */
bool wasInterrupted();

/* Loses one of what is sent, from now on, by threads that make a connection. */
void loseOneOfAHandshake(int number);

}  // namespace sendings
