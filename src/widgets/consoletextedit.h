#pragma once

#include "textlayout/lazydocumentlayout.h"

#include <QTextEdit>

namespace tarn::console {

/// What the transcript and the draft have in common: plain text in the lazy layout, and a Tab key
/// that moves the focus. Has no meta-object of its own: to Qt, both are a QTextEdit.
class ConsoleTextEdit : public QTextEdit
{
protected:
    explicit ConsoleTextEdit(QWidget *parent, const TextColour &textColour = {});
    ~ConsoleTextEdit() override;

    LazyDocumentLayout *lazyLayout() const { return m_lazyLayout; }

    void focusOutEvent(QFocusEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    LazyDocumentLayout *m_lazyLayout; ///< the document's
};

} // namespace tarn::console
