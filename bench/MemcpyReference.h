#pragma once

#include <QSize>

#include <time.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace lookpane::testing {

// CPU time of copying a BGRA frame of `size` once in this process, per frame: the machine's
// speed at this moment, printed beside figures that depend on it.
inline double memcpyPerFrameMs(QSize size)
{
    const std::size_t bytes = std::size_t(size.width()) * std::size_t(size.height()) * 4;
    std::vector<unsigned char> source(bytes, 0x5A), target(bytes);
    const int rounds = bytes > (std::size_t(16) << 20) ? 50 : 200;
    timespec start{}, end{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &start);
    for (int i = 0; i < rounds; ++i) {
        source[std::size_t(i)] = static_cast<unsigned char>(i);
        std::memcpy(target.data(), source.data(), bytes);
        asm volatile("" : : "r"(target.data()) : "memory");
    }
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &end);
    return (double(end.tv_sec - start.tv_sec) * 1e3 + double(end.tv_nsec - start.tv_nsec) / 1e6) /
           rounds;
}

} // namespace lookpane::testing
