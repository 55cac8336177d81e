#include "widgets/accessibledraft.h"

#include <QTextCursor>
#include <QTextEdit>

namespace tarn::console {

AccessibleDraft::AccessibleDraft(QTextEdit *editor)
    : AccessibleText(editor)
{
}

void AccessibleDraft::setText(QAccessible::Text kind, const QString &text)
{
    if (kind == QAccessible::Value)
        replaceText(0, characterCount(), text);
    else
        AccessibleText::setText(kind, text);
}

void *AccessibleDraft::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::EditableTextInterface)
        return static_cast<QAccessibleEditableTextInterface *>(this);
    return AccessibleText::interface_cast(type);
}

void AccessibleDraft::deleteText(int start, int end)
{
    replaceText(start, end, {});
}

void AccessibleDraft::insertText(int offset, const QString &text)
{
    replaceText(offset, offset, text);
}

void AccessibleDraft::replaceText(int start, int end, const QString &text)
{
    if (view()->isReadOnly())
        return;
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(start));
    cursor.setPosition(position(end), QTextCursor::KeepAnchor);
    cursor.insertText(text);
}

} // namespace tarn::console
