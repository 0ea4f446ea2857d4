#include "capture/portal/PipeWireStream.h"

#include "capture/portal/CapturePortalLog.h"

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <mutex>

namespace lookpane::portal {

namespace {

// The stream's thread, after the application's identifier.
constexpr const char *threadName = "org.lookpane.Lookpane.capture";

std::int64_t monotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

std::optional<PixelLayout> layoutOf(std::uint32_t format)
{
    switch (format) {
    case SPA_VIDEO_FORMAT_BGRx:
        return PixelLayout::bgrx;
    case SPA_VIDEO_FORMAT_RGBx:
        return PixelLayout::rgbx;
    case SPA_VIDEO_FORMAT_BGRA:
        return PixelLayout::bgra;
    case SPA_VIDEO_FORMAT_RGBA:
        return PixelLayout::rgba;
    default:
        return std::nullopt;
    }
}

// The formats Lookpane reads: the 32-bit layouts, any size, any rate up to 60 a second.
const spa_pod *buildFormats(spa_pod_builder *builder)
{
    spa_pod_frame frame{};
    spa_pod_builder_push_object(builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(
        builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
        SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(5, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx,
                               SPA_VIDEO_FORMAT_RGBx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBA),
        0);
    const spa_rectangle defaultSize{1920, 1080};
    const spa_rectangle minimumSize{1, 1};
    const spa_rectangle maximumSize{16384, 16384};
    spa_pod_builder_add(builder, SPA_FORMAT_VIDEO_size,
                        SPA_POD_CHOICE_RANGE_Rectangle(&defaultSize, &minimumSize, &maximumSize),
                        0);
    const spa_fraction defaultRate{60, 1};
    const spa_fraction minimumRate{0, 1};
    const spa_fraction maximumRate{360, 1};
    spa_pod_builder_add(builder, SPA_FORMAT_VIDEO_framerate,
                        SPA_POD_CHOICE_RANGE_Fraction(&defaultRate, &minimumRate, &maximumRate), 0);
    return static_cast<const spa_pod *>(spa_pod_builder_pop(builder, &frame));
}

// Buffers in memory this process can map: a memfd or plain memory, never a DMA-BUF.
const spa_pod *buildBuffers(spa_pod_builder *builder)
{
    spa_pod_frame frame{};
    spa_pod_builder_push_object(builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_add(builder, SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(8, 2, 16),
                        SPA_PARAM_BUFFERS_dataType,
                        SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr)),
                        0);
    return static_cast<const spa_pod *>(spa_pod_builder_pop(builder, &frame));
}

const spa_pod *buildHeaderMeta(spa_pod_builder *builder)
{
    spa_pod_frame frame{};
    spa_pod_builder_push_object(builder, &frame, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    spa_pod_builder_add(builder, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header),
                        SPA_PARAM_META_size, SPA_POD_Int(sizeof(spa_meta_header)), 0);
    return static_cast<const spa_pod *>(spa_pod_builder_pop(builder, &frame));
}

} // namespace

struct PipeWireStream::Private
{
    std::uint32_t nodeID = 0;
    Callbacks callbacks;
    pw_thread_loop *loop = nullptr;
    pw_context *context = nullptr;
    pw_core *core = nullptr;
    pw_registry *registry = nullptr;
    pw_stream *stream = nullptr;
    pw_buffer *held = nullptr; // the newest buffer, kept from the producer until the next
    spa_hook coreListener{};
    spa_hook registryListener{};
    spa_hook streamListener{};
    // Touched on the stream's thread only.
    std::optional<PixelLayout> layout;
    int width = 0;
    int height = 0;
    bool streaming = false;
    bool ended = false;
    bool warnedAboutMemory = false;

    void end(const QString &reason)
    {
        if (ended) {
            return;
        }
        ended = true;
        qCDebug(lcCapturePortal).noquote() << "PipeWire stream ended:" << reason;
        if (callbacks.onEnded) {
            callbacks.onEnded(reason);
        }
    }

    void formatChanged(const spa_pod *param)
    {
        spa_video_info_raw info{};
        if (!param || spa_format_video_raw_parse(param, &info) < 0) {
            return;
        }
        layout = layoutOf(info.format);
        width = static_cast<int>(info.size.width);
        height = static_cast<int>(info.size.height);
        if (!layout) {
            end(QStringLiteral("the screen cast's stream offers no picture format Lookpane reads"));
            return;
        }
        std::uint8_t buffer[1024];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, buffer, sizeof(buffer));
        const spa_pod *params[] = {buildBuffers(&builder), buildHeaderMeta(&builder)};
        pw_stream_update_params(stream, params, 2);
    }

    void process()
    {
        // Only the newest picture counts; older ones go straight back.
        pw_buffer *newest = nullptr;
        while (pw_buffer *buffer = pw_stream_dequeue_buffer(stream)) {
            if (newest) {
                pw_stream_queue_buffer(stream, newest);
            }
            newest = buffer;
        }
        if (!newest) {
            return;
        }
        // A buffer without a picture leaves the held one in place.
        if (!hasPicture(*newest->buffer)) {
            pw_stream_queue_buffer(stream, newest);
            return;
        }
        if (held) {
            pw_stream_queue_buffer(stream, held);
        }
        held = newest;
        deliver(*held->buffer);
    }

    void repeat()
    {
        if (held && !ended) {
            deliver(*held->buffer);
        }
    }

    bool hasPicture(const spa_buffer &buffer) const
    {
        if (buffer.n_datas < 1) {
            return false;
        }
        if (const auto *header = static_cast<const spa_meta_header *>(
                spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)))) {
            if (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) {
                return false;
            }
        }
        const spa_data &data = buffer.datas[0];
        // An empty chunk carries no picture (a cursor move, a repeated frame).
        return data.data && data.chunk && data.chunk->size > 0;
    }

    void deliver(const spa_buffer &buffer)
    {
        if (!layout || buffer.n_datas < 1) {
            return;
        }
        const spa_data &data = buffer.datas[0];
        if (data.type != SPA_DATA_MemFd && data.type != SPA_DATA_MemPtr) {
            if (!warnedAboutMemory) {
                warnedAboutMemory = true;
                qCWarning(lcCapturePortal) << "The screen cast sends buffers of type" << data.type
                                           << "which Lookpane cannot read";
            }
            return;
        }
        const int stride = data.chunk->stride > 0 ? data.chunk->stride
                                                  : width * static_cast<int>(sizeof(std::uint32_t));
        const std::uint64_t needed =
            static_cast<std::uint64_t>(data.chunk->offset) +
            static_cast<std::uint64_t>(stride) * static_cast<std::uint64_t>(height);
        if (width < 1 || height < 1 || needed > data.maxsize) {
            return;
        }
        StreamPicture picture;
        picture.pixels = static_cast<const std::uint8_t *>(data.data) + data.chunk->offset;
        picture.width = width;
        picture.height = height;
        picture.bytesPerRow = stride;
        picture.layout = *layout;
        if (callbacks.onPicture) {
            callbacks.onPicture(picture, monotonicNow());
        }
    }

    void stateChanged(pw_stream_state state, const char *error)
    {
        switch (state) {
        case PW_STREAM_STATE_ERROR:
            end(QStringLiteral("the screen cast's stream failed (%1)")
                    .arg(QString::fromUtf8(error ? error : "no reason given")));
            return;
        case PW_STREAM_STATE_UNCONNECTED:
            end(QStringLiteral("the screen cast's stream was disconnected"));
            return;
        case PW_STREAM_STATE_STREAMING:
            if (!streaming) {
                streaming = true;
                if (callbacks.onStreaming) {
                    callbacks.onStreaming();
                }
            }
            return;
        case PW_STREAM_STATE_CONNECTING:
        case PW_STREAM_STATE_PAUSED:
            return;
        }
    }
};

namespace {

const pw_core_events coreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.error = [](void *data, std::uint32_t id, int, int res, const char *message) {
        auto *d = static_cast<PipeWireStream::Private *>(data);
        if (id == PW_ID_CORE) {
            d->end(res == -EPIPE ? QStringLiteral("the connection to PipeWire was lost")
                                 : QStringLiteral("PipeWire reported an error (%1)")
                                       .arg(QString::fromUtf8(message ? message : strerror(-res))));
        }
    };
    return events;
}();

const pw_registry_events registryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global_remove = [](void *data, std::uint32_t id) {
        auto *d = static_cast<PipeWireStream::Private *>(data);
        if (id == d->nodeID) {
            d->end(QStringLiteral("the desktop ended the screen cast"));
        }
    };
    return events;
}();

const pw_stream_events streamEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void *data, pw_stream_state, pw_stream_state state,
                              const char *error) {
        static_cast<PipeWireStream::Private *>(data)->stateChanged(state, error);
    };
    events.param_changed = [](void *data, std::uint32_t id, const spa_pod *param) {
        if (id == SPA_PARAM_Format) {
            static_cast<PipeWireStream::Private *>(data)->formatChanged(param);
        }
    };
    events.process = [](void *data) { static_cast<PipeWireStream::Private *>(data)->process(); };
    events.remove_buffer = [](void *data, pw_buffer *buffer) {
        auto *d = static_cast<PipeWireStream::Private *>(data);
        if (d->held == buffer) {
            d->held = nullptr;
        }
    };
    return events;
}();

} // namespace

std::unique_ptr<PipeWireStream> PipeWireStream::connect(int fd, std::uint32_t nodeID,
                                                        Callbacks callbacks, QString *error)
{
    // Reference-counted inside PipeWire; safe to call for every stream.
    pw_init(nullptr, nullptr);
    auto d = std::make_unique<Private>();
    d->nodeID = nodeID;
    d->callbacks = std::move(callbacks);
    std::unique_ptr<PipeWireStream> stream(new PipeWireStream(std::move(d)));
    Private &p = *stream->d;

    p.loop = pw_thread_loop_new(threadName, nullptr);
    if (!p.loop) {
        close(fd);
        *error = QStringLiteral("PipeWire's thread could not be created");
        return nullptr;
    }
    p.context = pw_context_new(pw_thread_loop_get_loop(p.loop), nullptr, 0);
    if (!p.context) {
        close(fd);
        *error = QStringLiteral("PipeWire could not be initialised");
        return nullptr;
    }
    if (pw_thread_loop_start(p.loop) < 0) {
        close(fd);
        *error = QStringLiteral("PipeWire's thread could not be started");
        return nullptr;
    }
    pw_thread_loop_lock(p.loop);
    // The core owns the descriptor from here on, also when connecting fails.
    p.core = pw_context_connect_fd(p.context, fd, nullptr, 0);
    if (!p.core) {
        pw_thread_loop_unlock(p.loop);
        *error = QStringLiteral("PipeWire could not be reached over the portal's connection (%1)")
                     .arg(QString::fromUtf8(strerror(errno)));
        return nullptr;
    }
    // PipeWire's interface macros are C and cast the C way.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
    pw_core_add_listener(p.core, &p.coreListener, &coreEvents, &p);
    p.registry = pw_core_get_registry(p.core, PW_VERSION_REGISTRY, 0);
    pw_registry_add_listener(p.registry, &p.registryListener, &registryEvents, &p);
#pragma GCC diagnostic pop

    p.stream = pw_stream_new(p.core, "Lookpane",
                             pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
                                               "Capture", PW_KEY_MEDIA_ROLE, "Screen", nullptr));
    if (!p.stream) {
        pw_thread_loop_unlock(p.loop);
        *error = QStringLiteral("the PipeWire stream could not be created");
        return nullptr;
    }
    pw_stream_add_listener(p.stream, &p.streamListener, &streamEvents, &p);
    std::uint8_t buffer[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, buffer, sizeof(buffer));
    const spa_pod *params[] = {buildFormats(&builder)};
    const auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS);
    const int result = pw_stream_connect(p.stream, PW_DIRECTION_INPUT, nodeID, flags, params, 1);
    pw_thread_loop_unlock(p.loop);
    if (result < 0) {
        *error = QStringLiteral("the PipeWire stream could not connect to the screen cast (%1)")
                     .arg(QString::fromUtf8(strerror(-result)));
        return nullptr;
    }
    return stream;
}

PipeWireStream::PipeWireStream(std::unique_ptr<Private> p) : d(std::move(p)) {}

void PipeWireStream::repeatNewest()
{
    pw_loop_invoke(
        pw_thread_loop_get_loop(d->loop),
        [](spa_loop *, bool, std::uint32_t, const void *, std::size_t, void *data) {
            static_cast<Private *>(data)->repeat();
            return 0;
        },
        0, nullptr, 0, false, d.get());
}

PipeWireStream::~PipeWireStream()
{
    if (!d->loop) {
        return;
    }
    pw_thread_loop_lock(d->loop);
    if (d->stream) {
        if (d->held) {
            pw_stream_queue_buffer(d->stream, d->held);
            d->held = nullptr;
        }
        spa_hook_remove(&d->streamListener);
        pw_stream_destroy(d->stream);
    }
    if (d->registry) {
        spa_hook_remove(&d->registryListener);
        pw_proxy_destroy(reinterpret_cast<pw_proxy *>(d->registry));
    }
    if (d->core) {
        spa_hook_remove(&d->coreListener);
        pw_core_disconnect(d->core);
    }
    pw_thread_loop_unlock(d->loop);
    pw_thread_loop_stop(d->loop);
    if (d->context) {
        pw_context_destroy(d->context);
    }
    pw_thread_loop_destroy(d->loop);
}

} // namespace lookpane::portal
