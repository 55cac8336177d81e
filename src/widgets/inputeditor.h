#pragma once

#include "widgets/consoletextedit.h"

#include <QPointer>

#include <functional>

namespace tarn::console {

class ClipboardOffer;

/// The field for one line of program input. Enter submits; Enter with any modifier (the keypad's
/// own included) and insertions that hold a line break are refused; Enter during an input-method
/// composition belongs to the input method. The field is one line high and grows with its text up
/// to its maximum height.
class InputEditor : public ConsoleTextEdit
{
public:
    /// Nothing pasted or dropped makes the text longer than this, in UTF-16 units: twice what a
    /// line of program input can have. Laying out a line takes far longer the longer it is.
    static constexpr int maximumLength = 128 * 1024;

    explicit InputEditor(QWidget *parent = nullptr);
    ~InputEditor() override;

    /// Called when an insertion or an Enter is refused; nothing has changed then.
    void setRejectedPasteHandler(std::function<void()> handler);
    /// Called when an insertion is refused because of its length; nothing has changed then.
    void setOversizedPasteHandler(std::function<void()> handler);
    /// Called when plain Enter asks to submit the text.
    void setSubmitHandler(std::function<void()> handler);

    /// Whose content may be pasted without waiting. From an application that does not answer, the
    /// text comes as soon as it answers, if the field still has the focus then.
    void setClipboardOffer(const ClipboardOffer *offer);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void dropEvent(QDropEvent *event) override;
    void insertFromMimeData(const QMimeData *source) override;
    QMimeData *createMimeDataFromSelection() const override;

private:
    int heightForText() const;
    bool isClipboard(const QMimeData *source) const;

    std::function<void()> m_rejectedPasteHandler;
    std::function<void()> m_oversizedPasteHandler;
    std::function<void()> m_submitHandler;
    QPointer<const ClipboardOffer> m_clipboardOffer;
    /// The text that is pasted when the owner of the clipboard answers, unless a key comes first.
    bool m_pasteWaits = false;
    bool m_composing = false;
};

} // namespace tarn::console
