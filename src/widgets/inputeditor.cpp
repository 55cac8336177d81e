#include "widgets/inputeditor.h"

#include "textlayout/lazydocumentlayout.h"
#include "widgets/accessibledraft.h"
#include "widgets/clipboardoffer.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace tarn::console {

namespace {

QAccessibleInterface *accessibleDraft(const QString &, QObject *object)
{
    auto *editor = dynamic_cast<InputEditor *>(object);
    return editor ? new AccessibleDraft(editor) : nullptr;
}

} // namespace

InputEditor::InputEditor(QWidget *parent)
    : ConsoleTextEdit(parent)
{
    QAccessible::installFactory(accessibleDraft);
    QSizePolicy policy = sizePolicy();
    policy.setVerticalPolicy(QSizePolicy::Fixed);
    setSizePolicy(policy);

    connect(lazyLayout(), &LazyDocumentLayout::documentSizeChanged, this,
            [this] { updateGeometry(); });
}

InputEditor::~InputEditor() = default;

void InputEditor::setRejectedPasteHandler(std::function<void()> handler)
{
    m_rejectedPasteHandler = std::move(handler);
}

void InputEditor::setOversizedPasteHandler(std::function<void()> handler)
{
    m_oversizedPasteHandler = std::move(handler);
}

void InputEditor::setSubmitHandler(std::function<void()> handler)
{
    m_submitHandler = std::move(handler);
}

void InputEditor::setClipboardOffer(const ClipboardOffer *offer)
{
    m_clipboardOffer = offer;
    connect(offer, &ClipboardOffer::changed, this, [this] { m_pasteWaits = false; });
    connect(offer, &ClipboardOffer::answered, this, [this] {
        if (std::exchange(m_pasteWaits, false) && hasFocus())
            paste();
    });
}

int InputEditor::heightForText() const
{
    const int frame = frameHeight();
    const int line = lazyLayout()->lineHeights().plain
                     + static_cast<int>(std::ceil(2 * document()->documentMargin()));
    const int text = static_cast<int>(std::ceil(document()->size().height()));
    return std::min(std::max(line, text) + frame, maximumHeight());
}

QSize InputEditor::sizeHint() const
{
    return {ConsoleTextEdit::sizeHint().width(), heightForText()};
}

QSize InputEditor::minimumSizeHint() const
{
    return {ConsoleTextEdit::minimumSizeHint().width(), heightForText()};
}

void InputEditor::keyPressEvent(QKeyEvent *event)
{
    m_pasteWaits = false;
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
        ConsoleTextEdit::keyPressEvent(event);
        return;
    }
    // Whatever happens, Enter never inserts a line break.
    if (!m_composing) {
        // The keypad's Enter has a modifier of its own, and is refused like Shift+Enter.
        const bool plain = event->modifiers() == Qt::NoModifier;
        const auto &handler = plain && m_submitHandler ? m_submitHandler : m_rejectedPasteHandler;
        if (handler)
            handler();
    }
    event->accept();
}

void InputEditor::inputMethodEvent(QInputMethodEvent *event)
{
    m_composing = !event->preeditString().isEmpty();
    ConsoleTextEdit::inputMethodEvent(event);
}

bool InputEditor::isClipboard(const QMimeData *source) const
{
    return m_clipboardOffer && source == QGuiApplication::clipboard()->mimeData();
}

/// Whoever opens the context menu must not wait for another application either.
bool InputEditor::canInsertFromMimeData(const QMimeData *source) const
{
    return isClipboard(source) ? m_clipboardOffer->hasText()
                               : ConsoleTextEdit::canInsertFromMimeData(source);
}

void InputEditor::dropEvent(QDropEvent *event)
{
    ConsoleTextEdit::dropEvent(event);
    // Whoever drops a text here goes on here: Enter is to send it.
    if (event->isAccepted())
        setFocus(Qt::MouseFocusReason);
}

void InputEditor::insertFromMimeData(const QMimeData *source)
{
    if (isClipboard(source)) {
        m_pasteWaits = m_clipboardOffer->isSilent();
        // Qt would ask for the name of each format, of which there may be very many.
        if (m_pasteWaits || !m_clipboardOffer->hasText())
            return;
    }
    if (!source || source->formats().isEmpty() || !source->hasText())
        return;
    const QString text = source->text();
    if (text.contains(u'\r') || text.contains(u'\n')) {
        if (m_rejectedPasteHandler)
            m_rejectedPasteHandler();
        return;
    }
    const QTextCursor cursor = textCursor();
    const int replaced = cursor.selectionEnd() - cursor.selectionStart();
    const int kept = document()->characterCount() - 1 - replaced;
    if (text.size() > maximumLength - kept) {
        if (m_oversizedPasteHandler)
            m_oversizedPasteHandler();
        return;
    }
    // The text alone: Qt 6.4 takes Markdown for rich text even when that is off, and crashes on
    // data without any format, such as that of an empty clipboard.
    QMimeData plainText;
    plainText.setText(text);
    ConsoleTextEdit::insertFromMimeData(&plainText);
}

QMimeData *InputEditor::createMimeDataFromSelection() const
{
    // The base class would add HTML and turn no-break spaces into blanks.
    auto data = std::make_unique<QMimeData>();
    data->setText(textCursor().selectedText());
    return data.release();
}

} // namespace tarn::console
