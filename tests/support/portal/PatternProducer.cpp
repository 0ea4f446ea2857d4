#include "PatternProducer.h"

#include "PortalPattern.h"

#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <atomic>
#include <cstdio>
#include <cstring>

namespace lookpane::testing {

namespace {

constexpr int bytesPerPixel = 4;

std::uint32_t spaFormat(const QString &format)
{
    if (format == QLatin1String("RGBx")) {
        return SPA_VIDEO_FORMAT_RGBx;
    }
    if (format == QLatin1String("BGRA")) {
        return SPA_VIDEO_FORMAT_BGRA;
    }
    if (format == QLatin1String("RGBA")) {
        return SPA_VIDEO_FORMAT_RGBA;
    }
    return SPA_VIDEO_FORMAT_BGRx;
}

} // namespace

struct PatternProducer::Private
{
    Settings settings;
    std::function<void(std::uint32_t)> onNode;
    pw_thread_loop *loop = nullptr;
    pw_context *context = nullptr;
    pw_core *core = nullptr;
    pw_stream *stream = nullptr;
    spa_source *timer = nullptr;
    spa_hook streamListener{};
    std::atomic<bool> animated{true};
    std::atomic<int> sent{0};
    int sequence = 0;
    bool nodeReported = false;

    void fill(std::uint8_t *pixels, int stride)
    {
        const bool redFirst = settings.format.startsWith(QLatin1Char('R'));
        for (int y = 0; y < settings.size.height(); ++y) {
            std::uint8_t *row = pixels + static_cast<std::ptrdiff_t>(y) * stride;
            for (int x = 0; x < settings.size.width(); ++x) {
                const std::uint32_t rgb = portalPatternRgb(x, y, sequence);
                std::uint8_t *pixel = row + x * bytesPerPixel;
                const auto red = static_cast<std::uint8_t>(rgb >> 16);
                const auto green = static_cast<std::uint8_t>(rgb >> 8);
                const auto blue = static_cast<std::uint8_t>(rgb);
                pixel[0] = redFirst ? red : blue;
                pixel[1] = green;
                pixel[2] = redFirst ? blue : red;
                // Not opaque on purpose: the reader must not take the fourth byte as alpha.
                pixel[3] = 0x20;
            }
        }
    }

    void process()
    {
        pw_buffer *buffer = pw_stream_dequeue_buffer(stream);
        if (!buffer) {
            return;
        }
        spa_data &data = buffer->buffer->datas[0];
        const int stride = settings.size.width() * bytesPerPixel;
        if (data.data &&
            data.maxsize >= static_cast<std::uint32_t>(stride * settings.size.height())) {
            if (animated) {
                ++sequence;
            }
            fill(static_cast<std::uint8_t *>(data.data), stride);
            data.chunk->offset = 0;
            data.chunk->stride = stride;
            data.chunk->size = static_cast<std::uint32_t>(stride * settings.size.height());
            ++sent;
        }
        pw_stream_queue_buffer(stream, buffer);
    }

    void paramChanged(std::uint32_t id, const spa_pod *param)
    {
        if (id != SPA_PARAM_Format || !param) {
            return;
        }
        const int stride = settings.size.width() * bytesPerPixel;
        std::uint8_t storage[512];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, storage, sizeof(storage));
        spa_pod_frame frame{};
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamBuffers,
                                    SPA_PARAM_Buffers);
        const int dataType = settings.memPtr ? (1 << SPA_DATA_MemPtr) : (1 << SPA_DATA_MemFd);
        spa_pod_builder_add(&builder, SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(4, 2, 8),
                            SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
                            SPA_POD_Int(stride * settings.size.height()), SPA_PARAM_BUFFERS_stride,
                            SPA_POD_Int(stride), SPA_PARAM_BUFFERS_dataType,
                            SPA_POD_CHOICE_FLAGS_Int(dataType), 0);
        const spa_pod *params[] = {
            static_cast<const spa_pod *>(spa_pod_builder_pop(&builder, &frame))};
        pw_stream_update_params(stream, params, 1);
    }

    void stateChanged(pw_stream_state state, const char *error)
    {
        if (state == PW_STREAM_STATE_ERROR) {
            std::fprintf(stderr, "lookpane_screencast_portal: the stream failed: %s\n",
                         error ? error : "no reason given");
        }
        if (state == PW_STREAM_STATE_PAUSED && !nodeReported) {
            nodeReported = true;
            if (onNode) {
                onNode(pw_stream_get_node_id(stream));
            }
        }
        timespec value{};
        timespec interval{};
        if (state == PW_STREAM_STATE_STREAMING) {
            value.tv_nsec = 1;
            interval.tv_nsec = 20 * SPA_NSEC_PER_MSEC;
        }
        pw_loop_update_timer(pw_thread_loop_get_loop(loop), timer, &value, &interval, false);
    }
};

namespace {

const pw_stream_events producerEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void *data, pw_stream_state, pw_stream_state state,
                              const char *error) {
        static_cast<PatternProducer::Private *>(data)->stateChanged(state, error);
    };
    events.param_changed = [](void *data, std::uint32_t id, const spa_pod *param) {
        static_cast<PatternProducer::Private *>(data)->paramChanged(id, param);
    };
    events.process = [](void *data) { static_cast<PatternProducer::Private *>(data)->process(); };
    return events;
}();

} // namespace

PatternProducer::PatternProducer(const Settings &settings,
                                 std::function<void(std::uint32_t)> onNode)
    : d(std::make_unique<Private>())
{
    pw_init(nullptr, nullptr);
    d->settings = settings;
    d->onNode = std::move(onNode);
    d->loop = pw_thread_loop_new("pattern-producer", nullptr);
    d->context = pw_context_new(pw_thread_loop_get_loop(d->loop), nullptr, 0);
    pw_thread_loop_start(d->loop);
    pw_thread_loop_lock(d->loop);
    d->core = pw_context_connect(d->context, nullptr, 0);
    if (d->core) {
        d->timer = pw_loop_add_timer(
            pw_thread_loop_get_loop(d->loop),
            [](void *data, std::uint64_t) {
                auto *p = static_cast<Private *>(data);
                pw_stream_trigger_process(p->stream);
            },
            d.get());
        d->stream = pw_stream_new(d->core, "lookpane-test-monitor",
                                  pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source",
                                                    PW_KEY_MEDIA_TYPE, "Video", nullptr));
        pw_stream_add_listener(d->stream, &d->streamListener, &producerEvents, d.get());
        std::uint8_t storage[512];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, storage, sizeof(storage));
        const spa_rectangle size{static_cast<std::uint32_t>(settings.size.width()),
                                 static_cast<std::uint32_t>(settings.size.height())};
        const spa_fraction rate{50, 1};
        spa_pod_frame frame{};
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                            SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
                            SPA_FORMAT_VIDEO_format, SPA_POD_Id(spaFormat(settings.format)),
                            SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
                            SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
        const spa_pod *params[] = {
            static_cast<const spa_pod *>(spa_pod_builder_pop(&builder, &frame))};
        pw_stream_connect(
            d->stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS),
            params, 1);
    }
    pw_thread_loop_unlock(d->loop);
}

PatternProducer::~PatternProducer()
{
    pw_thread_loop_lock(d->loop);
    if (d->stream) {
        spa_hook_remove(&d->streamListener);
        pw_stream_destroy(d->stream);
    }
    if (d->timer) {
        pw_loop_destroy_source(pw_thread_loop_get_loop(d->loop), d->timer);
    }
    if (d->core) {
        pw_core_disconnect(d->core);
    }
    pw_thread_loop_unlock(d->loop);
    pw_thread_loop_stop(d->loop);
    pw_context_destroy(d->context);
    pw_thread_loop_destroy(d->loop);
}

bool PatternProducer::isValid() const
{
    return d->core && d->stream;
}

void PatternProducer::setAnimated(bool animated)
{
    d->animated = animated;
}

int PatternProducer::picturesSent() const
{
    return d->sent;
}

} // namespace lookpane::testing
