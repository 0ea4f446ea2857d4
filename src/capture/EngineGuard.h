#pragma once

#include <QObject>
#include <QPointer>

#include <utility>

namespace lookpane {

// Wraps a main-thread callback so that it does nothing once `owner` is gone: completions of
// asynchronous requests hold their target weakly.
template <typename Owner, typename Function> auto guardedBy(Owner *owner, Function function)
{
    return [target = QPointer<Owner>(owner), function = std::move(function)](auto &&...arguments) {
        if (target) {
            function(std::forward<decltype(arguments)>(arguments)...);
        }
    };
}

} // namespace lookpane
