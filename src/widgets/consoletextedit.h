#pragma once

#include <QTextEdit>

namespace tarn::console {

class LazyDocumentLayout;

/// What the transcript and the draft have in common: plain text in the lazy layout, and a Tab key
/// that moves the focus. A tab character in the text leads to the next multiple of eight blanks, so
/// that columns stay columns at every size of the font. Has no meta-object of its own: to Qt, both
/// are a QTextEdit.
class ConsoleTextEdit : public QTextEdit
{
public:
    ~ConsoleTextEdit() override;

protected:
    explicit ConsoleTextEdit(QWidget *parent);

    LazyDocumentLayout *lazyLayout() const { return m_lazyLayout; }

    void changeEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    void updateTabStops();

    LazyDocumentLayout *m_lazyLayout; ///< the document's
};

} // namespace tarn::console
