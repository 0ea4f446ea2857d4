#pragma once

#include <memory>
#include <utility>

namespace lookpane {

// Wraps a main-thread callback so that it does nothing once the owner of `anchor` has let it
// go: completions of asynchronous requests hold their target weakly. The owner drops its
// anchor first thing in its destructor, so not even its own members' teardown can call back
// into it.
template <typename Anchor, typename Function>
auto guardedBy(const std::shared_ptr<Anchor> &anchor, Function function)
{
    return [weakAnchor = std::weak_ptr<Anchor>(anchor),
            function = std::move(function)](auto &&...arguments) {
        if (!weakAnchor.expired()) {
            function(std::forward<decltype(arguments)>(arguments)...);
        }
    };
}

} // namespace lookpane
