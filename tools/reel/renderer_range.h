// The frames that a renderer was asked for, read from its command line.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <string>
#include <vector>

namespace reel {

// Understands renderers that are well known, also behind a launcher ("nice blender ..."):
// - Blender: -s or --frame-start, -e or --frame-end, -j or --frame-jump, -f or --render-frame with
//   one frame or A..B. Both ends must be there; Blender renders at -a, what follows comes too late.
// - POV-Ray: +KFI and +KFF, -KFI, Initial_Frame= and Final_Frame=, +SF and +EF and their long forms
//   for a part of that, on the command line and in the .ini files that it names, in their order.
// Returns 0, with what was understood as *how ("blender -s 1 -e 48"); or -1 when nothing was, or
// not for certain (frames relative to the scene's, lists).
[[nodiscard]] int read_renderer_range(const std::vector<std::string> &command,
                                      frame_selection *range, std::string *how);

} // namespace reel
