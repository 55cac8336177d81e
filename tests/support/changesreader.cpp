#include "support/changesreader.h"

#include "support/transcripttesting.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

QString describe(const TranscriptChanges &changes)
{
    QString extended;
    for (const TranscriptChanges::Extension &extension : changes.extended)
        extended += u" %1@%2"_s.arg(extension.paragraph).arg(extension.shownLength);
    return u"everything %1, new from %2, extended%3, last was terminated %4"_s.arg(
        QString::number(changes.everything), QString::number(changes.firstNew), extended,
        QString::number(changes.lastWasTerminated));
}

QString ChangesReader::catchUp(const Transcript &transcript)
{
    const QString problem = apply(transcript);
    m_terminated.clear();
    for (qsizetype i = 0; i < transcript.paragraphs().size(); ++i)
        m_terminated << isTerminated(transcript, i);
    return problem;
}

QString ChangesReader::apply(const Transcript &transcript)
{
    const TranscriptChanges &changes = transcript.changes();
    if (changes.everything) {
        if (changes.firstNew != 0 || !changes.extended.isEmpty())
            return u"something is old"_s;
        m_texts.clear();
    } else {
        if (changes.firstNew != m_texts.size())
            return u"the first new paragraph is %1"_s.arg(changes.firstNew);
        if (changes.lastWasTerminated != (!m_terminated.isEmpty() && m_terminated.last()))
            return u"the last paragraph was different"_s;
        const QString problem = checkExtensions(transcript);
        if (!problem.isEmpty())
            return problem;
        for (const TranscriptChanges::Extension &extension : changes.extended) {
            m_texts[extension.paragraph] +=
                transcript.paragraphs().at(extension.paragraph).text.sliced(extension.shownLength);
        }
    }
    for (qsizetype i = m_texts.size(); i < transcript.paragraphs().size(); ++i)
        m_texts << transcript.paragraphs().at(i).text;
    return QString();
}

/// The extensions are exactly the old paragraphs that have grown or ended, in order.
QString ChangesReader::checkExtensions(const Transcript &transcript) const
{
    QStringList expected;
    for (qsizetype i = 0; i < m_texts.size(); ++i) {
        const bool grown = transcript.paragraphs().at(i).text != m_texts.at(i);
        if (grown || isTerminated(transcript, i) != m_terminated.at(i))
            expected << u"%1@%2"_s.arg(i).arg(m_texts.at(i).size());
    }
    QStringList actual;
    for (const TranscriptChanges::Extension &extension : transcript.changes().extended)
        actual << u"%1@%2"_s.arg(extension.paragraph).arg(extension.shownLength);
    if (actual == expected)
        return QString();
    return u"extended are %1, should be %2"_s.arg(actual.join(u' '), expected.join(u' '));
}

QString ChangesReader::documentText() const
{
    QString text = m_texts.join(u'\n');
    if (!m_terminated.isEmpty() && m_terminated.last())
        text += u'\n';
    return text;
}

} // namespace tarn::console
