#include "window_tree_client.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

/* An owned reply, which has to be there. */
template <typename T>
std::unique_ptr<T, FreeReply> present(T* reply) {
    if (reply == nullptr)
        throw std::runtime_error("the server did not answer the window tree's client");
    return std::unique_ptr<T, FreeReply>(reply);
}

}  // namespace

WindowTreeClient::WindowTreeClient(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_.get()) != 0)
        throw std::runtime_error("the window tree's client cannot connect to " + display);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
    owner_ = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), 0, owner_, root_, -9, -9, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    sync();
}

void WindowTreeClient::reparent(xcb_window_t window, xcb_window_t parent) const {
    xcb_reparent_window(connection_.get(), window, parent, 5, 5);
}

void WindowTreeClient::stackAbove(xcb_window_t window, xcb_window_t sibling) const {
    const std::uint32_t values[]{sibling, XCB_STACK_MODE_ABOVE};
    xcb_configure_window(connection_.get(), window,
                         XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, values);
}

void WindowTreeClient::circulate(xcb_window_t parent) const {
    xcb_circulate_window(connection_.get(), XCB_CIRCULATE_RAISE_LOWEST, parent);
}

void WindowTreeClient::deleteProperty(xcb_window_t window, const char* name) const {
    xcb_delete_property(connection_.get(), window, atom(name));
}

void WindowTreeClient::takeSelection(const char* name) const {
    xcb_set_selection_owner(connection_.get(), owner_, atom(name), XCB_CURRENT_TIME);
}

void WindowTreeClient::releaseSelection(const char* name) const {
    xcb_set_selection_owner(connection_.get(), XCB_NONE, atom(name), XCB_CURRENT_TIME);
}

bool WindowTreeClient::hasOwner(const char* name) const {
    const auto cookie = xcb_get_selection_owner(connection_.get(), atom(name));
    return present(xcb_get_selection_owner_reply(connection_.get(), cookie, nullptr))->owner !=
           XCB_NONE;
}

void WindowTreeClient::destroyOwner() const {
    xcb_destroy_window(connection_.get(), owner_);
}

std::map<xcb_window_t, xcb_window_t> WindowTreeClient::parents() const {
    std::map<xcb_window_t, xcb_window_t> parents;
    std::vector<xcb_window_t> left{root_};
    while (!left.empty()) {
        const xcb_window_t parent = left.back();
        left.pop_back();
        const std::unique_ptr<xcb_query_tree_reply_t, FreeReply> tree(xcb_query_tree_reply(
            connection_.get(), xcb_query_tree(connection_.get(), parent), nullptr));
        if (tree == nullptr)  // it has just gone
            continue;
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            left.push_back(xcb_query_tree_children(tree.get())[i]);
            parents.emplace(left.back(), parent);
        }
    }
    return parents;
}

bool WindowTreeClient::isForInputOnly(xcb_window_t window) const {
    const auto cookie = xcb_get_window_attributes(connection_.get(), window);
    return present(xcb_get_window_attributes_reply(connection_.get(), cookie, nullptr))->_class ==
           XCB_WINDOW_CLASS_INPUT_ONLY;
}

std::uint32_t WindowTreeClient::eventsWantedOf(xcb_window_t window) const {
    const auto cookie = xcb_get_window_attributes(connection_.get(), window);
    return present(xcb_get_window_attributes_reply(connection_.get(), cookie, nullptr))
        ->all_event_masks;
}

/* A server tells others before it answers, but writes to each client in turn. When it has answered
 * a second time it has written all of the first time. */
void WindowTreeClient::sync() const {
    for (int i = 0; i < 2; ++i)
        present(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()),
                                          nullptr));
    while (xcb_generic_event_t* const event = xcb_poll_for_event(connection_.get())) {
        const bool isError = event->response_type == 0;
        std::free(event);
        if (isError)
            throw std::runtime_error("the server refused what the window tree's client asked for");
    }
}

xcb_atom_t WindowTreeClient::atom(const char* name) const {
    const auto cookie =
        xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    return present(xcb_intern_atom_reply(connection_.get(), cookie, nullptr))->atom;
}
