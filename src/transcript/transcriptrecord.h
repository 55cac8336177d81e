#pragma once

#include "session/transcriptstream.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace tarn::console {

enum class TranscriptRecordKind : qint32 {
    StreamOutput = 0,
    InputEcho = 1,
    ApplicationLabel = 2,
    Outcome = 3,
    LimitNotice = 4,
};

/// One thing that happened. There is one record per chunk of output, however small: see
/// PackedRecords for how they are kept.
struct TranscriptRecord
{
    TranscriptRecordKind kind = TranscriptRecordKind::StreamOutput;
    std::optional<TranscriptStream> stream; ///< set for stream output only
    QByteArray bytes;                       ///< raw bytes of output or echoed input
    QString text;                           ///< their display text, line breaks as LF
    QString label;                          ///< text of a label, or the name given with an echo
    QString detail;                         ///< outcome text, or the name of the limit
    bool marker = false;                    ///< true for input echoes
    qint32 reserved = 0;
};

} // namespace tarn::console

Q_DECLARE_TYPEINFO(tarn::console::TranscriptRecord, Q_RELOCATABLE_TYPE);
