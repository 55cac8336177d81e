#pragma once

#include "support/transcripthistory.h"
#include "transcript/transcriptresults.h"

#include <QString>

namespace tarn::console {

class Transcript;

/// Keeps account of the bytes that go into a transcript, call by call.
class TranscriptAccounts
{
public:
    /// Empty, or where bytes went astray or a limit was exceeded.
    QString enter(const TranscriptStep &step, const TranscriptAppendResult &result,
                  const Transcript &transcript);

private:
    qint64 m_accepted = 0;
    bool m_bypassed = false; ///< by a call that checks no limit
};

/// Empty, or what the texts and records of a transcript must never be.
QString brokenPromise(const Transcript &transcript);

} // namespace tarn::console
