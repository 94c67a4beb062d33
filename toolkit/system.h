// The toolkit from start to end.
//
//   toolkit::gl_set_font_names_table(names);     // when somebody has chosen other fonts
//   toolkit::system_init();
//   ... windows, loops ...
//   toolkit::system_terminate();
#pragma once

namespace toolkit {

// Connects to the display and makes the demon god, as large as the screen. Without a display the
// process ends with exit status 1 and a message. Calls after the first do nothing until
// system_terminate.
void system_init();

// Destroys all demons, window demons of every kind first (their callbacks are told), closes all
// windows and gives the display back. system_init may be called again afterwards.
void system_terminate();

} // namespace toolkit
