#include "widgets/consoletextedit.h"

#include "widgets/linekeys.h"

#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QProxyStyle>
#include <QShowEvent>
#include <QStyleFactory>
#include <QStyleOption>
#include <QTextDocument>
#include <QWheelEvent>

#include <cmath>

namespace tarn::console {

namespace {

/// Draws frames one pixel further inside.
class InnerFrame : public QProxyStyle
{
public:
    explicit InnerFrame(QObject *parent)
        : QProxyStyle(QStyleFactory::create(QApplication::style()->name()))
    {
        setParent(parent);
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        const auto *frame = qstyleoption_cast<const QStyleOptionFrame *>(option);
        if (element != PE_Frame || !frame) {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            return;
        }
        QStyleOptionFrame inner = *frame;
        inner.rect.adjust(1, 1, -1, -1);
        QProxyStyle::drawPrimitive(element, &inner, painter, widget);
    }
};

} // namespace

ConsoleTextEdit::ConsoleTextEdit(QWidget *parent, const TextColour &textColour,
                                 const KnownText &knownText)
    : QTextEdit(parent)
    , m_lazyLayout(new LazyDocumentLayout(document(), viewport(), textColour, knownText))
    , m_innerFrame(new InnerFrame(this))
{
    document()->setDocumentLayout(m_lazyLayout);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    updateTabStops();
}

ConsoleTextEdit::~ConsoleTextEdit() = default;

void ConsoleTextEdit::changeEvent(QEvent *event)
{
    if (event->type() != QEvent::FontChange && event->type() != QEvent::ApplicationFontChange) {
        QTextEdit::changeEvent(event);
        return;
    }
    // Without a page nothing is laid out: the font and its tab stops take one layout together.
    const QSizeF page = document()->pageSize();
    document()->setPageSize(QSizeF(0, 0));
    updateTabStops();
    QTextEdit::changeEvent(event);
    document()->setPageSize(page);
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

/// The keys are Qt's, but for the lines that they miss.
void ConsoleTextEdit::keyPressEvent(QKeyEvent *event)
{
    const QTextCursor before = textCursor();
    if (LineKeys::movePage(this, *event)) {
        event->accept();
        if (textCursor().selectionStart() != before.selectionStart()
            || textCursor().selectionEnd() != before.selectionEnd())
            offerSelection();
        return;
    }
    QTextEdit::keyPressEvent(event);
    if (const auto meant = LineKeys::meantInstead(*event, before, textCursor())) {
        setTextCursor(*meant);
        offerSelection();
    }
}

/// What is selected by keys is what the middle button pastes elsewhere.
void ConsoleTextEdit::offerSelection() const
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection() && textCursor().hasSelection())
        clipboard->setMimeData(createMimeDataFromSelection(), QClipboard::Selection);
}

int ConsoleTextEdit::frameHeight() const
{
    const QMargins margins = viewportMargins();
    return 2 * frameWidth() + margins.top() + margins.bottom();
}

/// At a fractional scale, the edge of the widget can cut the line of the frame off, and a viewport
/// that begins right beside the line can cover it.
void ConsoleTextEdit::keepFrameInSight()
{
    const bool isFractional = devicePixelRatioF() != std::floor(devicePixelRatioF());
    if (isFractional == m_hasInnerFrame)
        return;
    m_hasInnerFrame = isFractional;
    setStyle(isFractional ? m_innerFrame : nullptr);
    const int distance = isFractional ? 2 : 0;
    setViewportMargins(distance, distance, distance, distance);
    updateGeometry();
}

bool ConsoleTextEdit::event(QEvent *event)
{
    const bool isHandled = QTextEdit::event(event);
    if (event->type() == QEvent::ScreenChangeInternal)
        keepFrameInSight();
    return isHandled;
}

void ConsoleTextEdit::showEvent(QShowEvent *event)
{
    keepFrameInSight();
    QTextEdit::showEvent(event);
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
