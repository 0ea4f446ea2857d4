#pragma once

#include "capture/portal/StreamPicture.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace lookpane::portal {

// A PipeWire video stream read on a thread of its own (a pw_thread_loop named after the
// application's identifier plus ".capture"): connected over the file descriptor the portal
// gave, to the portal's node, in one of the 32-bit layouts BGRx, RGBx, BGRA or RGBA, with
// buffers in shared memory (MemFd or MemPtr). The newest buffer is held until the next one
// arrives, so that its picture can be read again. Destroying it stops the thread first: no
// callback runs after the destructor.
class PipeWireStream
{
public:
    struct Callbacks
    {
        // On the stream's thread, with the newest picture of each cycle; the picture is valid
        // only during the call. `timestampNs` is CLOCK_MONOTONIC.
        std::function<void(const StreamPicture &picture, std::int64_t timestampNs)> onPicture;
        // On the stream's thread, once: the stream has started to deliver.
        std::function<void()> onStreaming;
        // On the stream's thread, once: the stream ended (the node went, the connection broke,
        // negotiation failed), with the reason.
        std::function<void(const QString &reason)> onEnded;
    };

    // Connects over `fd` (taken over, closed in every case) to `nodeID`. None, with `error`
    // set, when PipeWire cannot even be reached.
    static std::unique_ptr<PipeWireStream> connect(int fd, std::uint32_t nodeID,
                                                   Callbacks callbacks, QString *error);
    ~PipeWireStream();

    // Thread-safe: hands the newest picture to onPicture once more, on the stream's thread
    // (after a region change, where the desktop sends pictures only when the screen changes).
    void repeatNewest();

    PipeWireStream(const PipeWireStream &) = delete;
    PipeWireStream &operator=(const PipeWireStream &) = delete;

    struct Private;

private:
    explicit PipeWireStream(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};

} // namespace lookpane::portal
