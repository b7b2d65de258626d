#include "server_objects.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
std::unique_ptr<T, FreeReply> owned(T* reply) {
    if (reply == nullptr)
        throw std::runtime_error("the server does not tell what clients have made in it");
    return std::unique_ptr<T, FreeReply>(reply);
}

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

std::string nameOf(xcb_connection_t* connection, xcb_atom_t type) {
    const auto reply =
        owned(xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, type), nullptr));
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

}  // namespace

std::map<std::string, std::uint32_t> objectsInServer(const std::string& display) {
    const std::unique_ptr<xcb_connection_t, Disconnect> connection(
        xcb_connect(display.c_str(), nullptr));
    if (xcb_connection_has_error(connection.get()) != 0)
        throw std::runtime_error("cannot connect to " + display);
    const std::uint32_t own = xcb_get_setup(connection.get())->resource_id_base;
    const auto clients = owned(xcb_res_query_clients_reply(
        connection.get(), xcb_res_query_clients(connection.get()), nullptr));
    std::map<std::string, std::uint32_t> counts;
    for (auto client = xcb_res_query_clients_clients_iterator(clients.get()); client.rem > 0;
         xcb_res_client_next(&client)) {
        if (client.data->resource_base == own)
            continue;
        const auto objects = owned(xcb_res_query_client_resources_reply(
            connection.get(),
            xcb_res_query_client_resources(connection.get(), client.data->resource_base), nullptr));
        for (auto type = xcb_res_query_client_resources_types_iterator(objects.get()); type.rem > 0;
             xcb_res_type_next(&type))
            counts[nameOf(connection.get(), type.data->resource_type)] += type.data->count;
    }
    return counts;
}
