// The toolkit from start to end.
//
//   toolkit::gl_set_font_names_table(names);     // when somebody has chosen other fonts
//   toolkit::system_init();
//   ... windows, loops ...
//   toolkit::system_terminate();
#pragma once

namespace toolkit {

// Connects to the display. Without one the process ends with exit status 1 and a message. Calls
// after the first do nothing until system_terminate.
void system_init();

// Closes all windows and gives the display back.
void system_terminate();

} // namespace toolkit
