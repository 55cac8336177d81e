#pragma once

#include "session/transcriptstream.h"
#include "transcript/transcriptrecord.h"

#include <QString>

#include <optional>

namespace tarn::console {

/// One displayed paragraph.
struct TranscriptParagraph
{
    TranscriptRecordKind kind = TranscriptRecordKind::StreamOutput; ///< what opened it
    std::optional<TranscriptStream> stream;                         ///< set for stream output only
    QString text;          ///< display text without line breaks
    QString directionText; ///< the characters that may decide its direction
};

} // namespace tarn::console

Q_DECLARE_TYPEINFO(tarn::console::TranscriptParagraph, Q_RELOCATABLE_TYPE);
