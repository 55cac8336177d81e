#pragma once

#include <QChar>
#include <QList>
#include <QString>
#include <QStringList>

class QAction;
class QWidget;

namespace tarn::console {

/// Something that a user can read, hover over, or have read out.
struct VisibleText
{
    QString place; ///< "QLabel runStatus text"
    QString text;
};

/// The interface texts of a widget and of everything visible inside it, with its menus; not the
/// contents: no program output, typed text, list cell or font name.
QList<VisibleText> visibleTexts(const QWidget *root);

/// The texts of actions and of their submenus.
QList<VisibleText> actionTexts(const QList<QAction *> &actions);

/// The text without what is the same in every language: mnemonic marks, the shortcut behind a tab,
/// and names.
QString translatablePart(const QString &text);

/// The texts whose translatable part has letters of a script, as "place: text".
QStringList textsWithScript(QChar::Script script, const QList<VisibleText> &texts);

} // namespace tarn::console
