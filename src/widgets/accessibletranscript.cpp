#include "widgets/accessibletranscript.h"

#include "widgets/paragraphcolour.h"

#include <QColor>
#include <QCoreApplication>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// What a screen reader says of a paragraph, beside its text.
QString nameOf(ParagraphVoice voice)
{
    switch (voice) {
    case ParagraphVoice::Output:
        break;
    case ParagraphVoice::Error:
        return QCoreApplication::translate("tarn::console::ConsoleWindow", "Program errors");
    case ParagraphVoice::Echo:
        return QCoreApplication::translate("tarn::console::ConsoleWindow", "Program input");
    case ParagraphVoice::Notice:
        return QCoreApplication::translate("tarn::console::ConsoleWindow", "Notice");
    }
    return QCoreApplication::translate("tarn::console::ConsoleWindow", "Program output");
}

} // namespace

AccessibleTranscript::AccessibleTranscript(QTextEdit *view, OriginOf originOf)
    : AccessibleText(view)
    , m_originOf(std::move(originOf))
    , m_toldVoice(voiceAtCaret())
{
    QObject::connect(view, &QTextEdit::cursorPositionChanged, &m_context, [this] { tellVoice(); });
}

AccessibleTranscript::~AccessibleTranscript() = default;

QString AccessibleTranscript::text(QAccessible::Text kind) const
{
    const QString text = AccessibleText::text(kind);
    return kind == QAccessible::Description && text.isEmpty() ? voiceAtCaret() : text;
}

QString AccessibleTranscript::voiceAtCaret() const
{
    const auto paragraph = m_originOf(view()->textCursor().block());
    return nameOf(paragraph ? voiceOf(*paragraph) : ParagraphVoice::Output);
}

void AccessibleTranscript::tellVoice()
{
    const QString voice = voiceAtCaret();
    if (voice == m_toldVoice)
        return;
    m_toldVoice = voice;
    QAccessibleEvent event(view(), QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

/// Whose words they are, as a colour and in words.
QString AccessibleTranscript::attributesOf(const QTextBlock &block) const
{
    const auto paragraph = m_originOf(block);
    if (!paragraph)
        return {};
    const QColor colour = paragraphColour(*paragraph, view()->palette());
    return u"color:rgb(%1,%2,%3);paragraph-style:%4;"_s.arg(
        QString::number(colour.red()), QString::number(colour.green()),
        QString::number(colour.blue()), nameOf(voiceOf(*paragraph)));
}

} // namespace tarn::console
