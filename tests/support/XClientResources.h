#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>

namespace lookpane::testing {

// What the X server holds for the clients of one process, by resource type ("WINDOW", "PIXMAP",
// "GC", "PICTURE", "DAMAGE" ...), summed over every connection the process has open (the X-Resource
// extension: QueryClientIds by process id, then QueryClientResources for each).
struct XClientResources
{
    int clients = 0; // connections of the process
    std::map<std::string, long> counts;

    long total() const;
};

// The resources of the process `pid` on `display`; none when the server lacks X-Resource, the
// request fails, or no connection of that process is found (the server learns a client's
// process id only over a local socket).
std::optional<XClientResources> xClientResourcesOf(const std::string &display, pid_t pid);

// "PIXMAP 12 -> 14, WINDOW 30 -> 29" for the types whose count differs; empty when none does.
std::string describeResourceChanges(const XClientResources &before, const XClientResources &after);

// Resident memory of a process in KiB (VmRSS of /proc/<pid>/status); none when the process is gone.
std::optional<long> residentKiB(pid_t pid);

// Resident memory in KiB and its parts: anonymous (the heaps), file-backed (code, fonts) and
// shared memory (MIT-SHM images, buffers shared with the X server).
struct ResidentMemory
{
    long total = 0;
    long anonymous = 0;
    long fileBacked = 0;
    long shared = 0;
};
std::optional<ResidentMemory> residentMemory(pid_t pid);

} // namespace lookpane::testing
