#pragma once

#include "XClientResources.h"

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace lookpane::bench {

// The soak: the real lookpane executable on a private X server with openbox, its box over a
// 1080p region of another program that animates at 60 frames a second while windows inside and
// over it keep coming, moving and going. The soak drives Lookpane as a user would, one action
// every few seconds: drags the toolbar to move the box and the box's corner to resize it,
// presses the global shortcuts for the blur, drawing and clearing the marks, draws marks in the
// box, and clicks the toolbar's detach button (found in a picture of the toolbar) to detach and
// attach the share window again. Every cycle of actions ends in the state it began in.
struct SoakOptions
{
    double minutes = 10;
    // Whole cycles of actions before the start figures are taken, so that what Lookpane creates
    // once (the detached window's buffers, the drawing canvas, the blur's buffers, caches) exists
    // and the heaps have grown to hold what a cycle asks of them: at least `warmUpCycles`, then
    // more, up to `maxWarmUpCycles`, while the quiet resident memory after a cycle still lies more
    // than `warmUpSettledPercent` above the highest after the cycles before.
    int warmUpCycles = 2;
    int maxWarmUpCycles = 6;
    double warmUpSettledPercent = 1.0;
    double secondsPerAction = 2;
    // Progress lines go here; none when null.
    std::FILE *progress = stderr;
};

// Lookpane's figures in a quiet moment, as the soak takes them at the start and the end: the
// source paused (no drawing, no windows coming or going), the share window no longer updating,
// the X resource counts the same in several samples in a row, resident memory the median of
// several samples.
struct QuietFigures
{
    testing::ResidentMemory memory;                // medians, field by field
    std::optional<testing::XClientResources> xres; // the steady counts; none when unknown
    bool quiet = false;  // the share window stopped updating while the source was paused
    bool steady = false; // the X resource counts stopped changing
};

struct SoakFigures
{
    bool started = false;     // Lookpane's windows showed and the start figures were taken
    bool alive = false;       // still running at the end, and its share window still updating
    double seconds = 0;       // from the start figures to the end figures
    long framesDelivered = 0; // updates of the share window seen (XDamage) in that time
    long framesLastTenSeconds = 0;
    long rssStartKiB = 0;
    long rssEndKiB = 0;
    long rssPeakKiB = 0;
    testing::ResidentMemory memoryStart;
    testing::ResidentMemory memoryEnd;
    std::optional<testing::XClientResources> xresStart;
    std::optional<testing::XClientResources> xresEnd;
    int warmUpCycles = 0;
    // The quiet resident memory after each warm-up cycle from the first on, KiB.
    std::vector<long> warmUpResidentKiB;
    bool quietStart = false, quietEnd = false; // both QuietFigures::quiet and ::steady
    int actions = 0;
    int actionsFailed = 0;
    // Each kind of action done and seen to take effect at least once.
    bool moved = false, resized = false, detached = false, drawn = false;
    bool boxRestored = false; // the box came back to its start geometry and mode at the end
    std::string failure;      // why the soak could not start or end, when it could not

    double rssGrowthPercent() const;
    // How far the end lies above the highest quiet figure of the warm-up, in percent. Once the
    // heaps have grown, resident memory swings with what the allocator keeps (up to 20 % between
    // the quiet figures after two cycles), so the start can lie in a trough; the highest figure
    // of the warm-up is the top of that swing, and ending far above it is growth.
    double rssAboveWarmUpPercent() const;
    // End minus start, over all resource types; 0 when either count is missing.
    long xresGrowth() const;
};

SoakFigures runSoak(const SoakOptions &options);

// The figures as the benchmark prints them: a table of start (the reference) and end, then
// KEY=value lines.
void printSoakFigures(const SoakFigures &figures, std::FILE *out);

} // namespace lookpane::bench
