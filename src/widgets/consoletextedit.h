#pragma once

#include <QTextEdit>

namespace tarn::console {

class LazyDocumentLayout;

/// What the transcript and the draft have in common: plain text in the lazy layout, and a Tab key
/// that moves the focus. Has no meta-object of its own: to Qt, both are a QTextEdit.
class ConsoleTextEdit : public QTextEdit
{
protected:
    explicit ConsoleTextEdit(QWidget *parent);
    ~ConsoleTextEdit() override;

    LazyDocumentLayout *lazyLayout() const { return m_lazyLayout; }

    /// What the widget is higher than its viewport.
    int frameHeight() const;

    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

    void wheelEvent(QWheelEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    void keepFrameInSight();

    LazyDocumentLayout *m_lazyLayout; ///< the document's
    QStyle *m_innerFrame;
    bool m_hasInnerFrame = false;
};

} // namespace tarn::console
