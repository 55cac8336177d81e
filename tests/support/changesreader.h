#pragma once

#include "transcript/transcript.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace tarn::console {

QString describe(const TranscriptChanges &changes);

/// Paragraph texts as a view keeps them, brought up to date from the changes alone.
class ChangesReader
{
public:
    /// Empty, or what was wrong with the changes.
    QString catchUp(const Transcript &transcript);
    QString documentText() const;

private:
    QString apply(const Transcript &transcript);
    QString checkExtensions(const Transcript &transcript) const;

    QStringList m_texts;
    QList<bool> m_terminated;
};

} // namespace tarn::console
