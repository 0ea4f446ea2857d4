#include "capture/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace lookpane {

void fatalError(const QString &message)
{
    std::fprintf(stderr, "Lookpane: fatal error: %s\n", message.toLocal8Bit().constData());
    std::fflush(stderr);
    std::abort();
}

} // namespace lookpane
