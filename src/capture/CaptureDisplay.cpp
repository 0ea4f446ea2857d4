#include "capture/CaptureDisplay.h"

namespace lookpane {

std::uint32_t displayIDForScreen(std::optional<std::uint32_t> screenNumber,
                                 std::uint32_t mainDisplayID)
{
    return screenNumber.value_or(mainDisplayID);
}

} // namespace lookpane
