#include "XClientResources.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace lookpane::testing {

namespace {

template <typename T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

std::string atomName(xcb_connection_t *c, xcb_atom_t atom)
{
    Reply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(c, xcb_get_atom_name(c, atom), nullptr), &std::free);
    if (!reply) {
        return "atom " + std::to_string(atom);
    }
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

// The resource-id bases of every client whose process id is `pid`.
std::vector<std::uint32_t> clientBasesOf(xcb_connection_t *c, pid_t pid)
{
    xcb_res_client_id_spec_t spec{};
    spec.client = 0; // every client
    spec.mask = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID;
    Reply<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(c, xcb_res_query_client_ids(c, 1, &spec), nullptr),
        &std::free);
    std::vector<std::uint32_t> bases;
    if (!reply) {
        return bases;
    }
    for (xcb_res_client_id_value_iterator_t it = xcb_res_query_client_ids_ids_iterator(reply.get());
         it.rem > 0; xcb_res_client_id_value_next(&it)) {
        if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) == 0 ||
            xcb_res_client_id_value_value_length(it.data) < 1) {
            continue;
        }
        if (static_cast<pid_t>(*xcb_res_client_id_value_value(it.data)) == pid) {
            bases.push_back(it.data->spec.client);
        }
    }
    return bases;
}

} // namespace

long XClientResources::total() const
{
    long sum = 0;
    for (const auto &[type, count] : counts) {
        sum += count;
    }
    return sum;
}

std::optional<XClientResources> xClientResourcesOf(const std::string &display, pid_t pid)
{
    xcb_connection_t *c = xcb_connect(display.c_str(), nullptr);
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(c,
                                                                                  &xcb_disconnect);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "xClientResourcesOf: cannot connect to %s\n", display.c_str());
        return std::nullopt;
    }
    Reply<xcb_res_query_version_reply_t> version(
        xcb_res_query_version_reply(c, xcb_res_query_version(c, 1, 2), nullptr), &std::free);
    if (!version || (version->server_major == 1 && version->server_minor < 2)) {
        std::fprintf(stderr, "xClientResourcesOf: the X server lacks X-Resource 1.2\n");
        return std::nullopt;
    }
    const std::vector<std::uint32_t> bases = clientBasesOf(c, pid);
    if (bases.empty()) {
        return std::nullopt;
    }
    XClientResources result;
    for (const std::uint32_t base : bases) {
        Reply<xcb_res_query_client_resources_reply_t> reply(
            xcb_res_query_client_resources_reply(c, xcb_res_query_client_resources(c, base),
                                                 nullptr),
            &std::free);
        if (!reply) {
            continue; // the connection closed in between
        }
        ++result.clients;
        for (xcb_res_type_iterator_t it =
                 xcb_res_query_client_resources_types_iterator(reply.get());
             it.rem > 0; xcb_res_type_next(&it)) {
            result.counts[atomName(c, it.data->resource_type)] += it.data->count;
        }
    }
    if (result.clients == 0) {
        return std::nullopt;
    }
    return result;
}

std::string describeResourceChanges(const XClientResources &before, const XClientResources &after)
{
    std::set<std::string> types;
    for (const auto &[type, count] : before.counts) {
        types.insert(type);
    }
    for (const auto &[type, count] : after.counts) {
        types.insert(type);
    }
    std::string text;
    for (const std::string &type : types) {
        const auto was = before.counts.find(type);
        const auto is = after.counts.find(type);
        const long from = was == before.counts.end() ? 0 : was->second;
        const long to = is == after.counts.end() ? 0 : is->second;
        if (from != to) {
            if (!text.empty()) {
                text += ", ";
            }
            text += type + " " + std::to_string(from) + " -> " + std::to_string(to);
        }
    }
    if (before.clients != after.clients) {
        if (!text.empty()) {
            text += ", ";
        }
        text += "connections " + std::to_string(before.clients) + " -> " +
                std::to_string(after.clients);
    }
    return text;
}

std::optional<long> residentKiB(pid_t pid)
{
    const std::optional<ResidentMemory> memory = residentMemory(pid);
    return memory ? std::optional<long>(memory->total) : std::nullopt;
}

std::optional<ResidentMemory> residentMemory(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    ResidentMemory memory;
    bool found = false;
    const auto field = [&line](const char *name, long &value) {
        const std::size_t length = std::strlen(name);
        if (line.compare(0, length, name) == 0) {
            value = std::strtol(line.c_str() + length, nullptr, 10);
            return true;
        }
        return false;
    };
    while (std::getline(status, line)) {
        found = field("VmRSS:", memory.total) || found;
        field("RssAnon:", memory.anonymous);
        field("RssFile:", memory.fileBacked);
        field("RssShmem:", memory.shared);
    }
    // A process that has ended but not been waited for has no VmRSS.
    return found ? std::optional<ResidentMemory>(memory) : std::nullopt;
}

} // namespace lookpane::testing
