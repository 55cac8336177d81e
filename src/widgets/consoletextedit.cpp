#include "widgets/consoletextedit.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QTextDocument>
#include <QWheelEvent>

namespace tarn::console {

ConsoleTextEdit::ConsoleTextEdit(QWidget *parent, const TextColour &textColour)
    : QTextEdit(parent)
    , m_lazyLayout(new LazyDocumentLayout(document(), viewport(), textColour))
{
    document()->setDocumentLayout(m_lazyLayout);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    updateTabStops();
}

ConsoleTextEdit::~ConsoleTextEdit() = default;

void ConsoleTextEdit::changeEvent(QEvent *event)
{
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange)
        updateTabStops();
}

/// Another distance lays out the whole text again, even when it is the same.
void ConsoleTextEdit::updateTabStops()
{
    constexpr int blanks = 8;
    const qreal distance = blanks * QFontMetricsF(font(), this).horizontalAdvance(u' ');
    if (distance != tabStopDistance())
        setTabStopDistance(distance);
}

/// In lines with right-to-left text the caret has a small flag at its side. When the focus leaves a
/// read-only text, Qt has only the caret itself painted over.
void ConsoleTextEdit::focusOutEvent(QFocusEvent *event)
{
    QTextEdit::focusOutEvent(event);
    constexpr int widthOfTheFlag = 4;
    viewport()->update(cursorRect().adjusted(-widthOfTheFlag, 0, widthOfTheFlag, 0));
}

void ConsoleTextEdit::wheelEvent(QWheelEvent *event)
{
    // Zooming is the window's: it keeps all texts at one size.
    if (event->modifiers().testFlag(Qt::ControlModifier))
        event->ignore();
    else
        QTextEdit::wheelEvent(event);
}

/// Qt's timer scrolls while a selection is drawn out of the text. When the movement out of it began
/// a drag instead, the timer goes on after the button was released, and would begin another drag,
/// which takes all keys and which no release ends.
void ConsoleTextEdit::timerEvent(QTimerEvent *event)
{
    if (QGuiApplication::mouseButtons().testFlag(Qt::LeftButton))
        QTextEdit::timerEvent(event);
}

} // namespace tarn::console
