#include "EngineTestSupport.h"
#include "capture/FrameRelay.h"

#include <QEvent>
#include <QImage>
#include <QThread>

#include <thread>

namespace lookpane {
namespace {

CapturedFrame frameOfWidth(int width)
{
    QImage image(width, 2, QImage::Format_RGB32);
    image.fill(0xff445566);
    return CapturedFrame::fromImage(image);
}

// Counts the queued calls that reach the application object: the relay's deliveries.
class QueuedCallCounter : public QObject
{
public:
    QueuedCallCounter() { QCoreApplication::instance()->installEventFilter(this); }
    ~QueuedCallCounter() override { QCoreApplication::instance()->removeEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == QCoreApplication::instance() && event->type() == QEvent::MetaCall) {
            ++count;
        }
        return false;
    }
};

class RelayTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ensureCoreApplication();
        drainEvents();
        relay = FrameRelay::create();
        relay->onFrame = [this](const CapturedFrame &frame) {
            deliveredWidths.push_back(frame.width());
            deliveredOnMainThread =
                deliveredOnMainThread && QThread::currentThread() == qApp->thread();
        };
    }

    std::shared_ptr<FrameRelay> relay;
    std::vector<int> deliveredWidths;
    bool deliveredOnMainThread = true;
};

TEST_F(RelayTest, HundredFramesWhileMainThreadIsBlockedGiveOneDeliveryWithTheLast)
{
    std::thread captureThread([this] {
        for (int width = 1; width <= 100; ++width) {
            relay->submit(frameOfWidth(width));
        }
    });
    captureThread.join();
    EXPECT_TRUE(deliveredWidths.empty());
    QueuedCallCounter queuedCalls;
    drainEvents();
    EXPECT_EQ(queuedCalls.count, 1);
    EXPECT_EQ(deliveredWidths, std::vector<int>{100});
    EXPECT_TRUE(deliveredOnMainThread);
}

TEST_F(RelayTest, DeliversAgainAfterEachHandOff)
{
    relay->submit(frameOfWidth(5));
    drainEvents();
    relay->submit(frameOfWidth(6));
    relay->submit(frameOfWidth(7));
    drainEvents();
    EXPECT_EQ(deliveredWidths, (std::vector<int>{5, 7}));
}

TEST_F(RelayTest, DestroyedRelayDeliversNothing)
{
    relay->submit(frameOfWidth(5));
    std::vector<int> widths;
    relay->onFrame = [&widths](const CapturedFrame &frame) { widths.push_back(frame.width()); };
    relay.reset();
    drainEvents();
    EXPECT_TRUE(widths.empty());
}

TEST_F(RelayTest, DroppedFramesReleaseTheirPixels)
{
    QImage image(3, 3, QImage::Format_RGB32);
    image.fill(0xff000000);
    std::weak_ptr<const void> firstStorage;
    {
        // A frame whose storage the test can watch.
        auto storage = std::make_shared<const QImage>(image);
        firstStorage = storage;
        relay->submit(CapturedFrame(3, 3, static_cast<int>(storage->bytesPerLine()),
                                    storage->constBits(), storage));
    }
    EXPECT_FALSE(firstStorage.expired());
    relay->submit(frameOfWidth(9));
    EXPECT_TRUE(firstStorage.expired());
    drainEvents();
    EXPECT_EQ(deliveredWidths, std::vector<int>{9});
}

TEST_F(RelayTest, ConcurrentSubmittersNeverQueueMoreThanOneDelivery)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, thread] {
            for (int index = 0; index < 250; ++index) {
                relay->submit(frameOfWidth(1 + thread));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QueuedCallCounter queuedCalls;
    drainEvents();
    EXPECT_EQ(queuedCalls.count, 1);
    ASSERT_EQ(deliveredWidths.size(), 1u);
    EXPECT_GE(deliveredWidths.front(), 1);
    EXPECT_LE(deliveredWidths.front(), 4);
}

} // namespace
} // namespace lookpane
