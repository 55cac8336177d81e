#pragma once

#include "transcript/transcriptresults.h"

#include <QString>

namespace tarn::console {

class Transcript;

namespace plain {
class Transcript;
}

/// Empty, or how the transcript differs from the plain one.
QString firstMismatch(const TranscriptAppendResult &actual, const TranscriptAppendResult &expected);
QString countsMismatch(const Transcript &actual, const plain::Transcript &expected);
/// Everything that can be seen of them.
QString firstMismatch(const Transcript &actual, const plain::Transcript &expected);

} // namespace tarn::console
