#pragma once

#include <QString>

namespace tarn::console {

/// Bounds of a transcript. A piece of output that would break one stops the capture.
struct TranscriptLimits
{
    /// Raw bytes of output and echoed input that are kept.
    qint64 maxRetainedBytes = 0;
    /// Displayed paragraphs.
    qint64 maxParagraphs = 0;
    /// Raw bytes of one output line without its line break, and of one echoed input line.
    qint64 maxParagraphBytes = 0;
    /// UTF-8 bytes of display text, each line break one, added since the last acknowledgement.
    qint64 maxPendingUpdateBytes = 0;
    /// Longest input line in bytes. Kept with the others; the session enforces it.
    qint64 maxInputBytes = 0;
};

/// The limit that stopped a capture.
enum class TranscriptLimit : qint32 {
    None = 0,
    RetainedBytes = 1,
    Paragraphs = 2,
    ParagraphLength = 3,
    PendingUpdates = 4,
};

/// Fixed English name, such as "paragraph limit"; "unknown limit" for any other value.
QString transcriptLimitName(TranscriptLimit limit);

} // namespace tarn::console
