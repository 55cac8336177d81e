#pragma once

namespace tarn::console {

/// Makes this process independent of what whoever starts it ignores, holds back or has closed. To
/// be called first, before there is a thread or a child.
///
/// Afterwards a reader of our messages that is gone (SIGPIPE) and a limit on the size of files
/// (SIGXFSZ) make writing fail instead of ending us, the ends of children are reported (SIGCHLD),
/// no signal is held back, and descriptors 0, 1 and 2 are in use. SIGHUP, SIGINT and SIGTERM stay
/// as they are: a starter that ignores them (nohup) means it.
void startClean();

} // namespace tarn::console
