#pragma once

#include <QMetaType>

namespace tarn::console {

/// The output channels of a program. The values are streamed and compared as integers.
enum class TranscriptStream : qint32 { StandardOutput = 0, StandardError = 1 };

} // namespace tarn::console

Q_DECLARE_METATYPE(tarn::console::TranscriptStream)
