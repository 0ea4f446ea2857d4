// bench/run soak [MINUTES]: Lookpane driven as a user would for MINUTES (default 10) over an
// animated 1080p source whose windows keep changing; prints resident memory and the X
// resources Lookpane's connections hold at the start (after the warm-up, the reference) and the
// end, the frames the share window showed, and whether Lookpane stayed alive. Exits 0 when the
// soak ran to its end with Lookpane alive.
#include "SoakRun.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    lookpane::bench::SoakOptions options;
    if (argc > 1) {
        options.minutes = std::atof(argv[1]);
        if (!(options.minutes > 0)) {
            std::fprintf(stderr, "soak_bench: MINUTES must be a positive number, not '%s'\n",
                         argv[1]);
            return 2;
        }
    }
    const lookpane::bench::SoakFigures figures = lookpane::bench::runSoak(options);
    printSoakFigures(figures, stdout);
    const bool goalsMet = figures.alive && figures.rssGrowthPercent() <= 2.0 && figures.xresStart &&
                          figures.xresEnd && figures.xresGrowth() == 0;
    std::printf("goals (growth <= 2 %%, X resources back to the start, alive): %s\n",
                goalsMet ? "met" : "not met");
    return figures.started && figures.alive ? 0 : 1;
}
