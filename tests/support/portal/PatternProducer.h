#pragma once

#include <QPoint>
#include <QSize>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace lookpane::testing {

// A PipeWire video source of the test portal: a node of media class Video/Source that drives
// itself, sending the portal pattern (PortalPattern.h) in one 32-bit layout every 20 ms. Animated,
// each picture carries the next sequence number; static, every picture is the same.
class PatternProducer
{
public:
    struct Settings
    {
        QString format = QStringLiteral("BGRx"); // BGRx, RGBx, BGRA or RGBA
        QSize size{640, 480};
        bool memPtr = false; // buffers of plain memory instead of memfds
    };

    // `onNode` runs on the producer's thread once the node exists, with its id.
    PatternProducer(const Settings &settings, std::function<void(std::uint32_t)> onNode);
    ~PatternProducer();

    PatternProducer(const PatternProducer &) = delete;
    PatternProducer &operator=(const PatternProducer &) = delete;

    bool isValid() const;
    void setAnimated(bool animated);
    int picturesSent() const;

    struct Private;

private:
    std::unique_ptr<Private> d;
};

} // namespace lookpane::testing
