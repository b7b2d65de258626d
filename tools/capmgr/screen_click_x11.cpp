#include <poll.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <thread>

#include "failure.h"
#include "screen_click.h"

namespace {

constexpr auto kTickMs = static_cast<int>(kInterruptionTick.count());

// A menu or a shortcut of the window manager may hold the pointer a moment longer than its click.
constexpr int kAttempts = 20;
constexpr std::chrono::milliseconds kBetweenAttempts{50};

constexpr xcb_keysym_t kEscape = 0xff1b;
constexpr std::uint16_t kCrosshair = 34;  // of the font of cursors; its mask is the next one

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using Owned = std::unique_ptr<Reply, Free>;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screens.rem > 1 && number > 0; --number) {
        xcb_screen_next(&screens);
    }
    return screens.data;
}

/* Unchecked: without it the pointer looks as it did. */
xcb_cursor_t makeCrosshair(xcb_connection_t* connection) {
    const xcb_font_t font = xcb_generate_id(connection);
    const xcb_cursor_t cursor = xcb_generate_id(connection);
    constexpr std::string_view kName = "cursor";
    constexpr std::uint16_t kWhite = 0xffff;
    xcb_open_font(connection, font, kName.size(), kName.data());
    xcb_create_glyph_cursor(connection, cursor, font, font, kCrosshair, kCrosshair + 1, 0, 0, 0,
                            kWhite, kWhite, kWhite);
    xcb_close_font(connection, font);
    return cursor;
}

bool isEscape(xcb_connection_t* connection, xcb_keycode_t code) {
    const Owned<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, code, 1), nullptr));
    return mapping != nullptr && mapping->keysyms_per_keycode > 0 &&
           xcb_get_keyboard_mapping_keysyms(mapping.get())[0] == kEscape;
}

bool grabPointer(xcb_connection_t* connection, xcb_window_t root, xcb_cursor_t cursor) {
    const auto cookie = xcb_grab_pointer(
        connection, 0, root, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE,
        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, cursor, XCB_CURRENT_TIME);
    const Owned<xcb_grab_pointer_reply_t> reply(
        xcb_grab_pointer_reply(connection, cookie, nullptr));
    return reply != nullptr && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

bool grabKeyboard(xcb_connection_t* connection, xcb_window_t root) {
    const auto cookie = xcb_grab_keyboard(connection, 0, root, XCB_CURRENT_TIME,
                                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const Owned<xcb_grab_keyboard_reply_t> reply(
        xcb_grab_keyboard_reply(connection, cookie, nullptr));
    return reply != nullptr && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

bool grabBoth(xcb_connection_t* connection, xcb_window_t root, xcb_cursor_t cursor) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (grabPointer(connection, root, cursor) && grabKeyboard(connection, root)) {
            return true;
        }
        std::this_thread::sleep_for(kBetweenAttempts);
    }
    return false;
}

[[noreturn]] void cancel() {
    throw Failure("cancelled: no window was clicked");
}

}  // namespace

// The grabs go with the connection.
struct ScreenClick::Grab {
    Connection connection;

    /* The next event if there is one. */
    Owned<xcb_generic_event_t> takeEvent() const {
        Owned<xcb_generic_event_t> event(xcb_poll_for_event(connection.get()));
        if (event == nullptr && xcb_connection_has_error(connection.get()) != 0) {
            throw Failure("the display server is gone: no window was clicked");
        }
        return event;
    }

    void awaitInput() const {
        pollfd input{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
        poll(&input, 1, kTickMs);
    }
};

ScreenClick::ScreenClick() {
    int number = 0;
    Connection connection(xcb_connect(nullptr, &number));
    if (xcb_connection_has_error(connection.get()) != 0) {
        throw Failure("cannot reach the X server to pick a window on");
    }
    const xcb_window_t root = screenOf(connection.get(), number)->root;
    if (!grabBoth(connection.get(), root, makeCrosshair(connection.get()))) {
        throw Failure(
            "another program holds the pointer or the keyboard, such as an open menu or a locked "
            "screen: no window can be clicked");
    }
    grab_.reset(new Grab{std::move(connection)});
}

ScreenClick::~ScreenClick() = default;

// The click is over when the button is up again: its release must not reach the window either.
ScreenPoint ScreenClick::await(const Interruption& interruption) const {
    std::optional<ScreenPoint> pressed;
    while (!interruption.requested()) {
        const Owned<xcb_generic_event_t> event = grab_->takeEvent();
        if (event == nullptr) {
            grab_->awaitInput();
            continue;
        }
        // Buttons and keys have the same layout.
        const auto& input = *reinterpret_cast<const xcb_button_press_event_t*>(event.get());
        const int type = event->response_type & 0x7f;
        if (type == XCB_KEY_PRESS && isEscape(grab_->connection.get(), input.detail)) {
            cancel();
        }
        if (type == XCB_BUTTON_PRESS && input.detail == XCB_BUTTON_INDEX_1) {
            pressed = ScreenPoint{input.root_x, input.root_y};
        }
        if (type == XCB_BUTTON_RELEASE && input.detail == XCB_BUTTON_INDEX_3) {
            cancel();
        }
        if (type == XCB_BUTTON_RELEASE && input.detail == XCB_BUTTON_INDEX_1 && pressed) {
            return *pressed;
        }
    }
    throw Failure("interrupted: no window was clicked");
}
