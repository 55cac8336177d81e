#pragma once

#include "textlayout/lazydocumentlayout.h"

#include <QTextEdit>

namespace tarn::console {

/// What the transcript and the draft have in common: plain text in the lazy layout, and a Tab key
/// that moves the focus. A tab character in the text leads to the next multiple of eight blanks, so
/// that columns stay columns at every size of the font. Has no meta-object of its own: to Qt, both
/// are a QTextEdit.
class ConsoleTextEdit : public QTextEdit
{
public:
    ~ConsoleTextEdit() override;

protected:
    explicit ConsoleTextEdit(QWidget *parent, const TextColour &textColour = {},
                             const KnownText &knownText = {});

    LazyDocumentLayout *lazyLayout() const { return m_lazyLayout; }

    /// What the widget is higher than its viewport.
    int frameHeight() const;

    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    void updateTabStops();
    void keepFrameInSight();
    void offerSelection() const;

    LazyDocumentLayout *m_lazyLayout; ///< the document's
    QStyle *m_innerFrame;
    bool m_hasInnerFrame = false;
};

} // namespace tarn::console
