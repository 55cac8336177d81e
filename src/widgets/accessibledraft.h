#pragma once

#include "widgets/accessibletext.h"

namespace tarn::console {

/// What assistive technology reads of the draft, and writes into it.
class AccessibleDraft : public AccessibleText, public QAccessibleEditableTextInterface
{
public:
    explicit AccessibleDraft(QTextEdit *editor);

    void setText(QAccessible::Text kind, const QString &text) override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    void deleteText(int start, int end) override;
    void insertText(int offset, const QString &text) override;
    void replaceText(int start, int end, const QString &text) override;
};

} // namespace tarn::console
