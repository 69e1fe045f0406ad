#pragma once

namespace kestrel::host {

/// Makes the library print, warn, allocate and ask for Ctrl-C through the MEX host. Every entry
/// begins with it; calling it again changes nothing.
void install_services();

}  // namespace kestrel::host
