#pragma once

#include <QAccessibleWidget>
#include <QString>

class QTextBlock;
class QTextEdit;

namespace tarn::console {

/// What assistive technology reads of a text widget in the lazy layout. Qt's own interface looks
/// for characters only in text that has been shaped, and the layout shapes text when it comes into
/// sight; this one asks for it. And a screen reader may ask late, for what is no longer there:
/// every offset is brought into the text, where Qt's own complains.
class AccessibleText : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    explicit AccessibleText(QTextEdit *view);

    QAccessible::State state() const override;
    QString text(QAccessible::Text kind) const override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    void selection(int index, int *start, int *end) const override;
    int selectionCount() const override;
    void addSelection(int start, int end) override;
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;
    int cursorPosition() const override;
    void setCursorPosition(int position) override;

    QString text(int start, int end) const override;
    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                             int *end) const override;
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                            int *end) const override;
    QString textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                         int *end) const override;
    int characterCount() const override;

    /// In screen coordinates.
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int start, int end) override;
    QString attributes(int offset, int *start, int *end) const override;

protected:
    QTextEdit *view() const;
    int position(int offset) const;
    /// What else there is to say of the texts of a block, each ended by a semicolon.
    virtual QString attributesOf(const QTextBlock &block) const;

private:
    QPoint contentsOrigin() const;
    void scrollTo(int position);
    QString textBetween(QPair<int, int> boundaries, int *start, int *end) const;
};

} // namespace tarn::console
