#include "app/InputPolicy.h"

namespace lookpane {

InputPolicy inputPolicy(const InputModes &modes)
{
    InputPolicy policy;
    const bool grabbed = modes.drawing || modes.moveMode || modes.liveResizing;
    if (grabbed) {
        policy.frameInput = FrameInput::wholeWindow;
    } else if (modes.clickThrough) {
        policy.frameInput = FrameInput::edgeBands;
    } else if (modes.ignoringMouseAfterMoveMode) {
        policy.frameInput = FrameInput::nothing;
    } else {
        policy.frameInput = FrameInput::wholeWindow;
    }
    const bool detached = modes.mode == ShareMode::detached;
    policy.sharePassesClicks = !detached;
    policy.cutsFrameToOutline = detached && !modes.drawing && !modes.compositing;
    policy.frameShowsPicture = !detached || (modes.drawing && !modes.compositing);
    return policy;
}

} // namespace lookpane
