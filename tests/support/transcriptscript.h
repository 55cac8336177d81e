#pragma once

#include "support/transcripthistory.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace tarn::console {

class NastyBytes;

/// Reads any bytes as limits and a history of calls; random bytes make a lively history.
class TranscriptScript
{
public:
    explicit TranscriptScript(QByteArrayView bytes);

    const TranscriptLimits &limits() const { return m_limits; }
    bool atEnd() const { return m_at == m_bytes.size(); }
    TranscriptStep takeStep();

private:
    uchar takeByte();
    QByteArray takeBytes(qsizetype count);
    QByteArray takeRepeatedBytes(qsizetype unitSize);
    void takeAppend(uchar kind, int size, TranscriptStep &step);
    static void takeRareStep(uchar kind, int choice, TranscriptStep &step);

    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    TranscriptLimits m_limits;
};

/// A script of so many short calls with unpleasant bytes.
QByteArray randomScript(NastyBytes &random, int stepCount);

/// Plays a script on a transcript and on the plain one. Empty, or how they differ and what promise
/// the transcript breaks.
QString playScript(QByteArrayView bytes);

} // namespace tarn::console
