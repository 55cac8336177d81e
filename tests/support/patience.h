#pragma once

namespace tarn::console {

/// How long a test waits for what must come, in milliseconds. Only a failure ever uses it up.
constexpr int patience = 60'000;

} // namespace tarn::console
