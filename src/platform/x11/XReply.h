#pragma once

#include <cstdlib>
#include <memory>

namespace lookpane::x11 {

// xcb hands out replies, events and errors in memory of its own allocation, which the caller
// gives back with free().
struct FreeDeleter
{
    void operator()(void *pointer) const { std::free(pointer); }
};

// A reply (or event, or error) that xcb allocated; freed when the holder goes.
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

} // namespace lookpane::x11
