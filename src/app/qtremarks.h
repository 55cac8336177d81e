#pragma once

namespace tarn::console {

/// Keeps what Qt remarks on its own inner workings, and asks to be told of, off the terminal: users
/// can neither do anything about it nor see anything of it. All other messages are passed on to
/// whoever handles them now.
void muteQtsRemarksOnItself();

} // namespace tarn::console
