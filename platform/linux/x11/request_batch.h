/* Requests without replies, whose outcome is asked for together. */
#pragma once

#include <vector>

#include "x11/connection.h"

namespace qor::x11 {

class RequestBatch {
  public:
    explicit RequestBatch(Connection& connection) : connection_(connection) {}

    RequestBatch(const RequestBatch&) = delete;
    RequestBatch& operator=(const RequestBatch&) = delete;

    ~RequestBatch() {
        for (const xcb_void_cookie_t& cookie : cookies_)
            xcb_discard_reply(connection_.handle(), cookie.sequence);
    }

    /* cookie is from the _checked form of a request. */
    void add(xcb_void_cookie_t cookie) { cookies_.push_back(cookie); }

    /* The code of the first error, 0 if there was none. Only once a later request's reply has come,
     * which means that the outcome of these is here too; and once only. */
    unsigned firstError() {
        unsigned first = 0;
        for (const xcb_void_cookie_t& cookie : cookies_) {
            const Reply<xcb_generic_error_t> error(xcb_request_check(connection_.handle(), cookie));
            if (first == 0 && error != nullptr)
                first = error->error_code;
        }
        cookies_.clear();
        return first;
    }

  private:
    Connection& connection_;
    std::vector<xcb_void_cookie_t> cookies_;
};

}  // namespace qor::x11
