#include "transcript/transcriptlimits.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

QString transcriptLimitName(TranscriptLimit limit)
{
    switch (limit) {
    case TranscriptLimit::None:
        return u"none"_s;
    case TranscriptLimit::RetainedBytes:
        return u"retained-byte limit"_s;
    case TranscriptLimit::Paragraphs:
        return u"paragraph limit"_s;
    case TranscriptLimit::ParagraphLength:
        return u"paragraph-length limit"_s;
    case TranscriptLimit::PendingUpdates:
        return u"pending-update limit"_s;
    }
    return u"unknown limit"_s;
}

} // namespace tarn::console
