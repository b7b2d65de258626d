/* The server's notices of what becomes of the windows on screen. */
#pragma once

#include "x11/connection.h"
#include "x11/residue_ledger.h"

namespace qor::x11 {

/* Asks the server for notices about the root window and its children, from now on. */
void askForNotices(Connection& connection);

/* Enters an event into the ledger, if it is about a child of the root window. True if it is any
 * change of the windows on screen, be it of their order only. */
bool enter(const xcb_generic_event_t& event, xcb_window_t root, ResidueLedger& ledger);

}  // namespace qor::x11
