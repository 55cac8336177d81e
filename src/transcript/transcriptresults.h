#pragma once

#include "transcript/transcriptlimits.h"

namespace tarn::console {

/// What became of a chunk of output or an echoed line.
struct TranscriptAppendResult
{
    qint64 acceptedBytes = 0;                      ///< raw bytes taken in
    bool captureStopped = false;                   ///< by this call or an earlier one
    TranscriptLimit limit = TranscriptLimit::None; ///< the limit that stopped the capture
};

/// A match in the document text.
struct TranscriptFindResult
{
    bool found = false;
    bool wrapped = false; ///< found only after going round the end (or the start)
    qint64 position = -1; ///< UTF-16 index of the match; -1 when there is none
    qint64 length = 0;    ///< UTF-16 length of the match; 0 when there is none
};

} // namespace tarn::console
