// Reports on standard error, for this folder. errno is left as it was.
#pragma once

namespace ipc {

// Writes a message as printf does, at once.
[[gnu::format(printf, 1, 2)]] void report(const char *format, ...);

// Writes "text: what the error number means" and a line end.
void report_error(const char *text);

} // namespace ipc
